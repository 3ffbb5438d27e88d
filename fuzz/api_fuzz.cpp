#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "fuzz_host.h"

using namespace OrvoConfigStore;

namespace {

/// The layers of an object, each one number: user, vital, cached.
using Layers = std::array<std::optional<int>, 3>;
constexpr const char* kNames[] = {"n", "v", "c"};
/// All objects by instance; "" is the type with a single one.
using Content = std::map<std::string, Layers>;

const std::string kInstances[] = {"", "a", "b", "it's"};

std::shared_ptr<ConfigStoreObject> Object(const std::string& instance, const Layers& layers) {
  auto object = std::make_shared<ConfigStoreObject>(FuzzType(instance.empty() ? "single" : "set", instance));
  for (size_t i = 0; i < layers.size(); ++i) {
    if (layers[i]) object->SetValue(kNames[i], *layers[i]);
  }
  if (!instance.empty()) object->SetInstanceIdFromCsoId();
  return object;
}

void ExpectObject(const std::shared_ptr<ConfigStoreObject>& found, const Layers* layers) {
  Demand((found != nullptr) == (layers != nullptr));
  for (size_t i = 0; layers != nullptr && i < layers->size(); ++i) {
    int value = 0;
    Demand(found->GetValue(kNames[i], &value) == (*layers)[i].has_value() && value == (*layers)[i].value_or(0));
  }
}

/// Two handles of one store, the first of which may have transactions open, and what
/// must be in it.
class Run {
 public:
  Run(const uint8_t* data, size_t size) : at_(data), end_(data + size) {
    Open();
    handles_[0]->Delete(FuzzType("single"));
    handles_[0]->DeleteInstances(std::make_shared<FilterSpecObject>(FuzzType("set")));
  }
  ~Run() {
    while (!before_.empty()) End(false);
  }
  Run(const Run&) = delete;
  Run& operator=(const Run&) = delete;

  void Step() {
    constexpr size_t kMostLevels = 4;
    const bool isFree = before_.empty();
    ConfigStore& store = *handles_[isFree ? Next() % 2 : 0];
    const std::string& instance = kInstances[Next() % std::size(kInstances)];
    const uint8_t step = Next() % 14;
    if (step == 0) return Set(store, instance);
    if (step == 1) return SetLayer(&ConfigStore::SetVitalData, store, instance, 1);
    if (step == 2) return SetLayer(&ConfigStore::SetCachedData, store, instance, 2);
    if (step == 3) return Update(store, instance);
    if (step == 4) return Delete(store, instance);
    if (step == 5) return SetInstances(store);
    if (step == 6) return Refuse(store, instance);
    if (step == 7 && before_.size() < kMostLevels) return Begin();
    if ((step == 8 || step == 9) && !isFree) return End(Next() % 2 == 0);
    if (step == 10 && isFree) return Open();
    if (step == 11 && isFree) return static_cast<void>(Import(Export()));
    if (step == 12 && isFree) return Demand(backup(GetStorePath(), "/etc/halden/configstore/copy") == 0);
    if (step == 13) Expect();
  }

  bool IsAtEnd() const { return at_ == end_; }

  /// The first handle sees what it has done, the other what is committed.
  void Expect() {
    ExpectContent(*handles_[0], now_);
    ExpectContent(*handles_[1], before_.empty() ? now_ : before_.front());
  }

 private:
  uint8_t Next() { return at_ == end_ ? 0 : *at_++; }

  void Open() { handles_ = {ConfigStore::GetStore(""), ConfigStore::GetStore("")}; }

  Layers NextLayers() {
    const uint8_t which = Next();
    Layers layers;
    for (size_t i = 0; i < layers.size(); ++i) {
      if ((which >> i) % 2 == 1) layers[i] = Next();
    }
    return layers;
  }

  // An object without a name and without layers is not there.
  void Keep(const std::string& instance, const Layers& layers) {
    now_[instance] = layers;
    if (instance.empty() && layers == Layers()) now_.erase(instance);
  }

  void Delete(ConfigStore& store, const std::string& instance) {
    store.Delete(Object(instance, {})->GetId());
    now_.erase(instance);
  }

  void Set(ConfigStore& store, const std::string& instance) {
    const Layers layers = NextLayers();
    store.Set(Object(instance, layers), {});
    Keep(instance, layers);
  }

  void SetLayer(void (ConfigStore::*set)(std::shared_ptr<ConfigStoreObject>), ConfigStore& store,
                const std::string& instance, size_t layer) {
    Layers given, kept = now_[instance];
    kept[layer] = given[layer] = Next();
    (store.*set)(Object(instance, given));
    Keep(instance, kept);
  }

  void Update(ConfigStore& store, const std::string& instance) {
    const Layers given = NextLayers();
    if (given == Layers()) return;
    Layers merged = now_[instance];
    for (size_t i = 0; i < given.size(); ++i) merged[i] = given[i] ? given[i] : merged[i];
    store.Update(Object(instance, given), {});
    Keep(instance, merged);
  }

  void SetInstances(ConfigStore& store) {
    const uint8_t which = Next() | 2;  // at least one
    std::vector<std::shared_ptr<ConfigStoreObject>> objects;
    for (size_t i = 1; i < std::size(kInstances); ++i) {
      now_.erase(kInstances[i]);
      if ((which >> i) % 2 == 0) continue;
      const Layers layers = NextLayers();
      objects.push_back(Object(kInstances[i], layers));
      Keep(kInstances[i], layers);
    }
    store.SetInstances(objects, {});
  }

  static void Refuse(ConfigStore& store, const std::string& instance) {
    const auto object = Object(instance, {});
    object->SetValue("n", "no number");
    try {
      store.Set(object, {});
    } catch (const ValidationException&) {
      return;
    }
    Demand(false);
  }

  void Begin() {
    Demand(handles_[0]->BeginTransaction() == 0);
    before_.push_back(now_);
  }

  void End(bool commits) {
    if (commits) {
      handles_[0]->CommitTransaction();
    } else {
      Demand(handles_[0]->CancelTransaction() == 0);
      now_ = before_.back();
    }
    before_.pop_back();
  }

  static void ExpectContent(ConfigStore& store, const Content& content) {
    size_t instances = 0;
    for (const std::string& instance : kInstances) {
      const auto expected = content.find(instance);
      const bool isThere = expected != content.end();
      ExpectObject(store.Get(Object(instance, {})->GetId()), isThere ? &expected->second : nullptr);
      if (isThere && !instance.empty()) ++instances;
    }
    Demand(store.GetInstances(std::make_shared<FilterSpecObject>(FuzzType("set"))).size() == instances);
  }

  const uint8_t* at_;
  const uint8_t* const end_;
  std::array<std::shared_ptr<ConfigStore>, 2> handles_;
  Content now_;
  std::vector<Content> before_;  // by level of the first handle's transaction
};

}  // namespace

/// The bytes are operations and their values: the store holds what a map holds to
/// which the same was done.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  constexpr size_t kMostBytes = 512;
  if (size > kMostBytes) return 0;
  FuzzHost::Prepare();
  Run run(data, size);
  while (!run.IsAtEnd()) run.Step();
  run.Expect();
  return 0;
}
