#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "configstore/config_store_object.h"
#include "configstore/context.h"
#include "configstore/export.h"
#include "configstore/inspect.h"
#include "configstore/object_id.h"

/// Configurations as JSON documents:
///
///   {"components": {COMPONENT: {GROUP: {KEY: object, or array of objects}}}}
///
/// A type with a single object has that object, one with instances an array of
/// them, each with the member that identifies it. A document that this library
/// writes is sorted by component, group, key and instance and holds no metadata.
/// A text holds at most 1 GiB and 517 levels: its objects stand below five, and
/// have 512 at most.

namespace OrvoConfigStore {

/// What of the objects a document shows.
enum EXPORT_LAYER {
  EXPORT_EFFECTIVE = 0,  ///< what a read gives, its layers merged
  EXPORT_AUTO = 1,       ///< one layer, as it is stored
  EXPORT_USER = 2,
  EXPORT_VITAL = 3,
  EXPORT_CACHED = 4,
  EXPORT_DESIRED = 5,
};

/// What becomes of secrets in a document.
enum EXPORT_SECRETS {
  SECRETS_MASKED = 0,    ///< the mask stands for each
  SECRETS_OMITTED = 1,   ///< their members are left out
  SECRETS_INCLUDED = 2,  ///< as they are: keep the document to yourself
};

/// The form of a document's text.
enum DOCUMENT_LAYOUT {
  LAYOUT_COMPACT = 0,   ///< one line, nothing at its end
  LAYOUT_INDENTED = 1,  ///< a line for each member and element
};

/// Takes the next part of a text. What it throws ends the operation and passes on.
using DocumentSink = std::function<void(std::string_view part)>;

/// Hears how far long work has come: how many objects are done, of how many (0
/// where that is not known).
using DocumentProgress = std::function<void(size_t done, size_t all)>;

/// What to export, and how.
struct ExportOptions {
  std::string component;  ///< this one alone; empty for all
  std::string group;      ///< likewise
  std::string key;        ///< likewise
  EXPORT_LAYER layer = EXPORT_EFFECTIVE;
  EXPORT_SECRETS secrets = SECRETS_MASKED;
  DOCUMENT_LAYOUT layout = LAYOUT_COMPACT;
  DocumentProgress progress = nullptr;  ///< called for each thousandth object
};

/// Stored objects that a document cannot hold.
struct LeftOut {
  ConfigStoreObjectId type;
  std::string reason;
  size_t objects = 0;
};

/// What an export wrote.
struct ExportSummary {
  size_t objects = 0;
  std::vector<LeftOut> leftOut;  ///< sorted; objects of types that are not registered, for one
};

/// Writes the stored objects as a document, one after the other: of a large store
/// never more than a part is in memory. All are of one moment.
/// The effective layer shows what a write of the object would keep: empty objects
/// and empty arrays of instances inside it are left out. With secrets included,
/// importing it into an empty store makes that export the same text.
/// Throws ConfigStoreException(1056) that names the object when one cannot be read.
CONFIGSTORE_API ExportSummary Export(const ExportOptions& options, const DocumentSink& sink);

/// As above; returns the text.
CONFIGSTORE_API std::string Export(const ExportOptions& options = {});

/// How the objects of a document meet those that are stored.
enum IMPORT_MODE {
  IMPORT_REPLACE = 0,  ///< a single object is set, an array replaces the instances of its type
  IMPORT_MERGE = 1,    ///< each object is merged into the stored one, as ConfigStore::Update does
};

struct ImportOptions {
  USERDATA_CONTEXT context = {};
  IMPORT_MODE mode = IMPORT_REPLACE;
  DocumentProgress progress = nullptr;  ///< called before the first object is written, then as in an export
};

/// What an import wrote.
struct ImportSummary {
  size_t objects = 0;
  size_t types = 0;
};

/// Stores the objects of a document, all or none, in one transaction; types that it
/// does not name stay as they are. In steps:
/// 1. The text is parsed: InvalidArgumentException(1080) when it is not JSON,
///    ConfigStoreException(2000, "Invalid JSON") without an object "components".
/// 2. An outside caller is refused while the host boots: ValidationException(2000).
/// 3. A masked secret becomes the stored one, objects get the generated identifier
///    that they lack, and the whole is validated: ValidationException(1055), 1091
///    for a merge, with every violation, its field from the document's root.
/// 4. It is written. ConfigStoreException(1055) "Import operation failed: ..." when
///    that fails, ValidationException(1091) when a merged object is not valid.
/// Importing an array without elements deletes the instances of the type.
CONFIGSTORE_API ImportSummary Import(const std::string& text, const ImportOptions& options = {});

/// Returns the objects of a document, in its order; nothing is stored and nothing
/// validated but the document's form. Where the store names instances, one without
/// an identifier gets a new one. Throws as step 1 of an import does, and
/// ValidationException(2000) that lists what is no object of a registered type.
CONFIGSTORE_API std::vector<std::shared_ptr<ConfigStoreObject>> ReadDocument(const std::string& text);

/// Returns the document of objects, in any order.
CONFIGSTORE_API std::string WriteDocument(const std::vector<std::shared_ptr<ConfigStoreObject>>& objects,
                                          EXPORT_SECRETS secrets, DOCUMENT_LAYOUT layout = LAYOUT_COMPACT);

}  // namespace OrvoConfigStore
