#include "configstore/object_id.h"

#include <cstdint>
#include <cstdlib>
#include <memory>

#include "configstore/errors.h"
#include "platform/host_util.h"

namespace OrvoConfigStore {
namespace {

// One step of a 64-bit hash combination: multiply, fold the high bits in, mix.
uint64_t Combine(uint64_t hash, uint64_t value) {
  constexpr uint64_t kMultiplier = 0xc6a4a7935bd1e995;
  constexpr uint64_t kIncrement = 0xe6546b64;
  value *= kMultiplier;
  value ^= value >> 47;
  value *= kMultiplier;
  return (hash ^ value) * kMultiplier + kIncrement;
}

uint64_t HashText(const std::string& text) {
  uint64_t hash = 0;
  // Deliberate: bytes are signed, so those from 0x80 on enter with all high bits set.
  for (char c : text) hash = Combine(hash, static_cast<uint64_t>(static_cast<int64_t>(static_cast<signed char>(c))));
  return hash;
}

std::string InstanceSuffix(const std::string& instanceId) {
  return instanceId.empty() ? std::string() : " instanceId " + instanceId;
}

}  // namespace

ConfigStoreObjectId::ConfigStoreObjectId(const std::string& keyName, const std::string& groupName,
                                         const std::string& componentName)
    : key(keyName), component(componentName), group(groupName) {}

ConfigStoreObjectId::ConfigStoreObjectId(const std::string& keyName, const std::string& groupName,
                                         const std::string& componentName, const std::string& instance)
    : key(keyName), component(componentName), group(groupName), instanceId(instance) {}

ConfigStoreObjectId::ConfigStoreObjectId(const char* keyName, const char* groupName, const char* componentName)
    : key(keyName), component(componentName), group(groupName) {}

ConfigStoreObjectId::ConfigStoreObjectId(const char* keyName, const char* groupName, const char* componentName,
                                         const char* instance)
    : key(keyName), component(componentName), group(groupName), instanceId(instance) {}

ConfigStoreObjectId::ConfigStoreObjectId(const ConfigStoreObjectId& other)
    : key(other.key), component(other.component), group(other.group), instanceId(other.instanceId) {}

std::string ConfigStoreObjectId::toString() const {
  return "component " + component + " group " + group + " key " + key + InstanceSuffix(instanceId);
}

bool operator==(const ConfigStoreObjectId& a, const ConfigStoreObjectId& b) {
  return a.key == b.key && a.component == b.component && a.instanceId == b.instanceId && a.group == b.group;
}

SubObjectId::SubObjectId(const std::string& member) : key(member) {}

SubObjectId::SubObjectId(const std::string& member, const std::string& instance) : key(member), instanceId(instance) {}

std::string SubObjectId::toString() const {
  return " key " + key + InstanceSuffix(instanceId);
}

size_t hashCsoId(const ConfigStoreObjectId& id) noexcept {
  uint64_t seed = 0;
  for (const std::string* part : {&id.key, &id.group, &id.component, &id.instanceId}) {
    seed = Combine(seed, HashText(*part));
  }
  return seed;
}

std::string GenerateInstanceId() {
  const std::unique_ptr<char, decltype(&std::free)> text(HaldenLib::UUID_CreateRandom(), &std::free);
  if (text == nullptr) throw ConfigStoreException(CS_GENERAL, "The host has no random identifier to give.");
  return text.get();
}

void validateInstanceId(const ConfigStoreObjectId& id) {
  if (id.instanceId.empty()) {
    throw ValidationException(CS_GENERAL, "Non-Singleton object should contain instanceId", {});
  }
}

}  // namespace OrvoConfigStore
