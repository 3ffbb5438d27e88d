#include "store/object_cache.h"

#include <algorithm>
#include <atomic>
#include <functional>
#include <string>
#include <string_view>
#include <utility>

#include "objects/json_access.h"
#include "platform/host_settings.h"

namespace OrvoConfigStore {
namespace {

constexpr int kDefaultLimit = 256 << 10;

std::atomic<size_t>& Limit() {
  static std::atomic<size_t> limit{
      static_cast<size_t>(std::max(0, HaldenLib::EnvironmentNumber("HALDEN_READ_CACHE", kDefaultLimit)))};
  return limit;
}

// Of the parts that tell most objects apart; what is found is compared in full.
size_t HashOf(const ConfigStoreObjectId& id) {
  constexpr size_t kSpread = 0x9e3779b97f4a7c15;
  const std::hash<std::string_view> hashOf;
  const size_t hash = (hashOf(id.key) * kSpread ^ hashOf(id.instanceId)) * kSpread;
  return hash ^ hash >> 32;
}

std::shared_ptr<ConfigStoreObject> CopyOf(const ConfigStoreObject& object,
                                          const std::shared_ptr<SchemaObject>& schema) {
  const std::shared_ptr<JsonDoc> source = object.GetJsonDocPtr();
  const std::shared_ptr<JsonDoc> copy = NewDocument(source->allocator->Size() / 2);
  const JsonValue& data = *std::as_const(*source).GetJsonValuePtr();
  const auto generate = [&data](JsonDocument& document) { return data.Accept(document); };
  copy->document->Populate(generate);
  const std::string version = object.GetVersion(), created = object.GetCreationTime(),
                    modified = object.GetModifiedTime();
  return std::make_shared<ConfigStoreObject>(object.GetId(), copy, schema, RowFacts{version, created, modified});
}

size_t BytesOf(const ConfigStoreObject& object) {
  constexpr size_t kRest = sizeof(ConfigStoreObject) + sizeof(JsonStorage) + sizeof(JsonDoc) + 256;
  return object.GetJsonDocPtr()->allocator->Capacity() + kRest;
}

}  // namespace

std::shared_ptr<ConfigStoreObject> ObjectCache::Get(const ConfigStoreObjectId& id, const Connection& connection,
                                                    const std::shared_ptr<SchemaObject>& schema) {
  if (Limit().load(std::memory_order_relaxed) == 0) return GetInternal(id, connection, schema);
  const size_t hash = HashOf(id);
  if (bytes_ > 0) {
    const Entry& entry = EntryOf(hash);
    if (entry.object != nullptr && entry.schema == schema && entry.object->GetId() == id) {
      if (DBStore::CurrentState(connection) == state_) return CopyOf(*entry.object, schema);  // 1, 3, 5
      Clear();
    }
  }
  uint64_t state = 0;
  std::shared_ptr<ConfigStoreObject> object = GetWithState(id, connection, schema, &state);
  if (object != nullptr && state != 0 && IsReadAgain(hash)) Keep(hash, *object, schema, state);
  return object;
}

bool ObjectCache::IsReadAgain(size_t hash) {
  return std::exchange(lastRead_[hash % kRemembered], hash) == hash;  // 4
}

void ObjectCache::Keep(size_t hash, const ConfigStoreObject& object, const std::shared_ptr<SchemaObject>& schema,
                       uint64_t state) {
  if (state != state_) Clear();
  state_ = state;  // 2
  if (entries_.empty()) entries_.resize(kEntries);
  Drop(EntryOf(hash));
  Entry entry{CopyOf(object, schema), schema, 0};
  entry.bytes = BytesOf(*entry.object);
  const size_t limit = ReadCacheLimit();
  if (entry.bytes > limit) return;
  while (bytes_ + entry.bytes > limit) Drop(entries_[nextToDrop_++ % kEntries]);
  bytes_ += entry.bytes;
  EntryOf(hash) = std::move(entry);
}

void ObjectCache::Drop(Entry& entry) {
  bytes_ -= entry.bytes;
  entry = {};
}

void ObjectCache::Clear() {
  for (Entry& entry : entries_) entry = {};
  bytes_ = 0;
}

size_t ReadCacheLimit() {
  return Limit().load(std::memory_order_relaxed);
}

void SetReadCacheLimitInternal(size_t bytes) {
  Limit().store(bytes, std::memory_order_relaxed);
}

}  // namespace OrvoConfigStore
