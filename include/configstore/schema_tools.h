#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "configstore/export.h"
#include "configstore/object_id.h"

/// Tools for those who write schemas and documents: finding mistakes in a schema,
/// a reference page of a type, and its schema in a form that editors know.

namespace OrvoConfigStore {

/// One thing in a schema file that is wrong, or hardly what was meant.
struct SchemaFinding {
  enum Severity {
    WARNING,  ///< it works, but not as it reads
    ERROR,    ///< registration refuses it, or no value could ever satisfy it
  };
  Severity severity = WARNING;
  std::string file;     ///< empty for a text
  std::string pointer;  ///< JSON pointer into the file, "/schema/properties/mtu"
  std::string text;
  size_t line = 0;    ///< from 1; of what is nearest for something that is missing
  size_t column = 0;  ///< from 1, in characters
};

/// Returns what is wrong with the text of a schema file: everything that
/// registration refuses, and beyond that what the dialect accepts and ignores, or
/// accepts and can never satisfy; in the order of the text. Nothing is stored.
CONFIGSTORE_API std::vector<SchemaFinding> LintSchema(const std::string& text);

/// The same for files that are to be registered together.
CONFIGSTORE_API std::vector<SchemaFinding> LintSchemaFiles(const std::vector<std::string>& paths);

/// How a reference page is written.
enum class PageFormat {
  MARKDOWN,
  MAN,  ///< for man(1), section 5
};

/// Returns a page that describes the registered type: its fields in the order of
/// the schema, their types, rules, defaults and categories. Throws
/// ValidationException(2000) when the type is unknown.
CONFIGSTORE_API std::string TypeReference(const ConfigStoreObjectId& type, PageFormat format);

/// What an exported schema describes.
enum class ExportedPart {
  WHOLE,   ///< all there is of the type: for one with instances, the array of them
  OBJECT,  ///< one object of it
};

/// Returns the schema of the registered type as a standard JSON Schema of draft 7,
/// for what an outside caller may set. It accepts and refuses the same documents,
/// but for what only one of the two can say: docs/schemas.md lists that. Throws
/// ValidationException(2000) when the type is unknown.
CONFIGSTORE_API std::string ExportJsonSchema(const ConfigStoreObjectId& type, ExportedPart part);

}  // namespace OrvoConfigStore
