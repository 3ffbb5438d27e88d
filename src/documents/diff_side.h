#pragma once

#include <memory>
#include <vector>

#include "configstore/diff.h"
#include "documents/parsed_document.h"

namespace OrvoConfigStore {

/// An object of a side, in the document that the side keeps.
struct SideObject {
  ConfigStoreObjectId id;
  std::shared_ptr<SchemaObject> schema;
  const JsonValue* data;
};

/// A side, read.
struct ReadSide {
  std::vector<SideObject> objects;  ///< in the order of the document
  std::vector<LeftOut> leftOut;
  std::vector<std::shared_ptr<void>> kept;  ///< what the data is in
};

/// Reads a side; throws as Diff does.
ReadSide ReadDiffSide(const DiffSide& side);

/// Compares by component, group, key and instance.
bool IsBefore(const ConfigStoreObjectId& a, const ConfigStoreObjectId& b);

}  // namespace OrvoConfigStore
