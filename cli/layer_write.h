#pragma once

#include <configstore/config_store.h>
#include <configstore/diagnostics.h>
#include <configstore/inspect.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "arguments.h"
#include "change_text.h"
#include "object_input.h"

/// What the writing commands have in common: where a write goes, and its report.

namespace csctl {

using ObjectPointer = std::shared_ptr<OrvoConfigStore::ConfigStoreObject>;
using ObjectList = std::vector<ObjectPointer>;

/// One layer, of one object or of all instances of a type.
struct Layer {
  const char* name;
  OrvoConfigStore::DIAGNOSE_FOR use;
  std::optional<std::string> OrvoConfigStore::StoredRow::*text;
  void (*set)(OrvoConfigStore::ConfigStore& store, ObjectPointer object);
  void (*replace)(OrvoConfigStore::ConfigStore& store, ObjectList objects);
};

struct WriteOptions {
  std::string id;
  std::string file = "-";
  std::string as = "user";
  std::string layer;
  bool create = false;
  std::vector<std::string> fields;  ///< FIELD=VALUE or FIELD
  bool takesJson = false;           ///< a VALUE is JSON

  OrvoConfigStore::USERDATA_CONTEXT Context() const;
  /// Returns the layer that alone is written, or null for all of them.
  const Layer* OneLayer() const;
  /// Returns the layer that is written, the caller's own unless another is chosen.
  const Layer& CallersLayer() const;
  /// Returns what is wrong with `input`, data of `object`, as a text to be set.
  std::vector<OrvoConfigStore::Diagnostic> DiagnoseSet(const OrvoConfigStore::ConfigStoreObjectId& object,
                                                       const InputText& input) const;
};

/// Declare --as and --layer.
Argument AddAs(Arguments& arguments, WriteOptions& options);
void AddLayer(Arguments& arguments, WriteOptions& options, const Argument& as);

/// Runs `write` in a transaction and returns what it did to the row of `id`.
/// `write` is given the row as it is in the transaction.
WriteReport PerformWrite(std::shared_ptr<OrvoConfigStore::ConfigStore>& store,
                         const OrvoConfigStore::ConfigStoreObjectId& id, const std::function<void(const Row&)>& write);

}  // namespace csctl
