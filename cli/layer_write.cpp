#include "layer_write.h"
#include "arguments.h"

#include <configstore/boot_state.h>
#include <configstore/errors.h>

#include <algorithm>

namespace csctl {

using OrvoConfigStore::ConfigStore;
using OrvoConfigStore::ConfigStoreObjectId;
using OrvoConfigStore::StoredRow;
using OrvoConfigStore::USERDATA_CONTEXT;

namespace {

constexpr USERDATA_CONTEXT kUser{USERDATA_CONTEXT::EXTERNAL};
constexpr USERDATA_CONTEXT kAuto{USERDATA_CONTEXT::AUTOCONFIGURATION};

const Layer kLayers[] = {
    {"user", OrvoConfigStore::DIAGNOSE_USER, &StoredRow::userValue,
     [](ConfigStore& store, ObjectPointer object) { store.SetUserData(object, kUser); },
     [](ConfigStore& store, ObjectList objects) { store.SetUserDataInstances(objects, kUser); }},
    {"auto", OrvoConfigStore::DIAGNOSE_AUTO, &StoredRow::autoConfValue,
     [](ConfigStore& store, ObjectPointer object) { store.SetUserData(object, kAuto); },
     [](ConfigStore& store, ObjectList objects) { store.SetUserDataInstances(objects, kAuto); }},
    {"vital", OrvoConfigStore::DIAGNOSE_VITAL, &StoredRow::vitalValue,
     [](ConfigStore& store, ObjectPointer object) { store.SetVitalData(object); },
     [](ConfigStore& store, ObjectList objects) { store.SetVitalDataInstances(objects); }},
    {"cached", OrvoConfigStore::DIAGNOSE_CACHED, &StoredRow::cachedValue,
     [](ConfigStore& store, ObjectPointer object) { store.SetCachedData(object); },
     [](ConfigStore& store, ObjectList objects) { store.SetCachedDataInstances(objects); }},
};

const Layer* FindLayer(const std::string& name) {
  const auto found =
      std::find_if(std::begin(kLayers), std::end(kLayers), [&](const Layer& known) { return name == known.name; });
  return found == std::end(kLayers) ? nullptr : found;
}

/// Whether the staged configuration alone has a pending value. It is asked after
/// the write, which no failure of this look may make seem undone.
bool IsStaged(const ConfigStoreObjectId& id, const Row& row) {
  if (row && (row->desiredValue || !row->confirmed)) return false;
  try {
    return OrvoConfigStore::GetDesiredUserConfig(id) != nullptr;
  } catch (const OrvoConfigStore::ConfigStoreException&) {
    return true;
  }
}

}  // namespace

USERDATA_CONTEXT WriteOptions::Context() const {
  return as == "auto" ? kAuto : kUser;
}

const Layer* WriteOptions::OneLayer() const {
  return FindLayer(layer);
}

const Layer& WriteOptions::CallersLayer() const {
  return *FindLayer(layer.empty() ? as : layer);
}

std::vector<OrvoConfigStore::Diagnostic> WriteOptions::DiagnoseSet(const ConfigStoreObjectId& object,
                                                                   const InputText& input) const {
  const Layer* one = OneLayer();
  const auto whole = as == "auto" ? OrvoConfigStore::DIAGNOSE_SET_BY_HOST : OrvoConfigStore::DIAGNOSE_SET;
  return OrvoConfigStore::DiagnoseObject(object, input.text, one != nullptr ? one->use : whole);
}

Argument AddAs(Arguments& arguments, WriteOptions& options) {
  return arguments.Option("--as", options.as, "Who writes: user, or auto for the host's own automatic configuration")
      .OneOf({"user", "auto"});
}

void AddLayer(Arguments& arguments, WriteOptions& options, const Argument& as) {
  arguments.Option("--layer", options.layer, "Write this layer alone and keep the others")
      .OneOf({"user", "auto", "vital", "cached"})
      .Excludes(as);
}

WriteReport PerformWrite(std::shared_ptr<ConfigStore>& store, const ConfigStoreObjectId& id,
                         const std::function<void(const Row&)>& write) {
  WriteReport report;
  OrvoConfigStore::ConfigStoreTransaction transaction(store);
  report.before = OrvoConfigStore::ReadStoredRow(id);
  write(report.before);
  transaction.Commit();
  report.after = OrvoConfigStore::ReadStoredRow(id);
  report.isStaged = IsStaged(id, report.after);
  return report;
}

}  // namespace csctl
