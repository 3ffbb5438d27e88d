#pragma once

#include <optional>
#include <string>
#include <vector>

#include "configstore/documents.h"
#include "configstore/export.h"
#include "configstore/object_id.h"
#include "configstore/rehearsal.h"

/// Comparing whole configurations.

namespace OrvoConfigStore {

/// One side of a comparison.
struct DiffSide {
  enum Kind {
    STORE,     ///< what reads return
    USER,      ///< one layer of all objects, as it is stored
    AUTO,      ///< likewise
    VITAL,     ///< likewise
    CACHED,    ///< likewise
    DESIRED,   ///< the rows' desired values
    STAGED,    ///< the staged configuration
    DEFAULTS,  ///< the default objects of packages
    DOCUMENT,  ///< the document whose text is `value`
    BACKUP,    ///< what reads would return of the backup at the path `value`, which is only read
  };
  Kind kind = STORE;
  std::string value = "";
};

/// An object that differs. Secrets are in the texts as they are.
struct ObjectDifference {
  ConfigStoreObjectId id;
  std::optional<std::string> before;  ///< JSON text; nothing where only the second side has the object
  std::optional<std::string> after;   ///< likewise
  std::vector<FieldChange> fields;    ///< of an object that both have
};

struct DiffResult {
  std::vector<ObjectDifference> objects;  ///< sorted by identifier
  std::vector<LeftOut> leftOut;           ///< stored objects of either side that no document can hold
};

/// Compares two sides: objects by identifier, instances in them likewise; the
/// order of members and of instances makes no difference. Takes time in
/// proportion to their size. Throws as Export and ReadDocument do, and
/// ConfigStoreException(2000) when the backup cannot be read.
CONFIGSTORE_API DiffResult Diff(const DiffSide& from, const DiffSide& to);

/// Returns a JSON Patch (RFC 6902) that makes the document of `to` of that of
/// `from`: of a document itself, of anything else the document that Export writes.
/// Instances that stay keep their order. Secrets stand as a mask unless
/// `withSecrets`. Throws as above.
CONFIGSTORE_API std::string DiffPatch(const DiffSide& from, const DiffSide& to, bool withSecrets);

}  // namespace OrvoConfigStore
