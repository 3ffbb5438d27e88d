#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/schema_store.h"

/// Schema files, and what a schema must satisfy to be registered.
///
/// A schema file is one JSON object:
///   {"component": C, "group": G, "key": K, "version": V, "noRestore": false, "schema": {...}}
/// with "noRestore" optional. What is checked here holds for every registered
/// schema, so that neither validation nor splitting nor merging meets a surprise:
/// - the root is an object or an array;
/// - every node has a known shape of keywords, and "items" where it is an array;
/// - an array of instances has object items and a string identifier that is
///   marked and required, and no two nested arrays of one name differ in it,
///   nor is one named like the type;
/// - patterns compile; union tags are well formed.

namespace OrvoSchemaStore {

/// One thing that is wrong with a schema.
struct SchemaFault {
  std::string path;  ///< JSON pointer into the file, "/schema/properties/mtu"
  std::string text;
};

/// Reads the text of a schema file into `record` and checks it. An empty result
/// means that the record may be registered.
std::vector<SchemaFault> CheckSchemaText(const std::string& text, SchemaRecord& record);

/// Reads the file at `path`; false when it is none, cannot be read or has over 16 MiB.
bool ReadSchemaText(const std::string& path, std::string& text);

/// The longest part of an identifier that can be stored, in bytes.
constexpr size_t kMaxIdentifierBytes = 255;

}  // namespace OrvoSchemaStore
