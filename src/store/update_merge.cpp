#include "store/update_merge.h"

#include <string>
#include <utility>

#include "configstore/errors.h"
#include "objects/schema_node.h"
#include "platform/json_values.h"
#include "store/member_editor.h"

namespace OrvoConfigStore {
namespace {

// One merge: where values are allocated, and which arrays hold instances. The nodes
// that are handed down describe the data; they are null where nothing does.
class Merge {
 public:
  Merge(JsonAllocator& allocator, const JsonValue* idMap) : allocator_(allocator), idMap_(idMap) {}

  void MergeMembers(JsonValue& target, const JsonValue& update, SchemaNode* node) {
    MemberEditor members(target, update.MemberCount(), allocator_);
    for (const auto& change : update.GetObject()) {
      const std::string_view name = TextOf(change.name);
      const bool isNested = change.value.IsObject() || change.value.IsArray();
      SchemaNode* property = isNested && node != nullptr ? node->Property(name) : nullptr;
      const JsonValue* idKey = isNested ? IdKeyOf(name, property) : nullptr;
      if (change.value.IsObject()) {
        if (idKey != nullptr) RefuseObject(name);
        MergeSubObject(members, name, change.value, property);
      } else if (idKey != nullptr) {
        SchemaNode* items = property == nullptr ? nullptr : property->Items();
        MergeInstances(members, name, change.value, std::string(TextOf(*idKey)), items);
      } else {
        SetMember(members, name, change.value);
      }
    }
  }

 private:
  const JsonValue* IdKeyOf(std::string_view name, SchemaNode* property) const {
    if (property == nullptr) return idMap_ == nullptr ? nullptr : FindValue(*idMap_, name);
    const JsonValue* idKey = property->FindAny(Keyword::InstanceId);
    return idKey != nullptr && idKey->IsString() ? idKey : nullptr;
  }

  [[noreturn]] static void RefuseObject(std::string_view name) {
    const SubObjectId sid{std::string(name)};
    throw ConfigStoreException(CS_GENERAL,
                               ("Non-Singleton object should contain instanceId: " + sid.toString()).c_str());
  }

  // Returns the member, created empty when it is missing or null.
  JsonValue& FindOrCreate(MemberEditor& members, std::string_view name, rapidjson::Type type) {
    JsonValue empty(type);
    JsonValue* member = members.Find(name);
    if (member == nullptr) return members.Append(name, empty);
    if (member->IsNull()) *member = empty;
    return *member;
  }

  void MergeSubObject(MemberEditor& members, std::string_view name, const JsonValue& update, SchemaNode* node) {
    JsonValue& target = FindOrCreate(members, name, rapidjson::kObjectType);
    if (!target.IsObject()) {
      const SubObjectId sid{std::string(name)};
      throw InvalidArgumentException(CS_GENERAL, ("Not a singleton SubObject: " + sid.toString()).c_str());
    }
    MergeMembers(target, update, node);
  }

  void MergeInstances(MemberEditor& members, std::string_view name, const JsonValue& update, const std::string& idKey,
                      SchemaNode* items) {
    JsonValue& elements = FindOrCreate(members, name, rapidjson::kArrayType);
    if (!elements.IsArray()) ThrowInvalidJson();
    InstanceFinder instances(elements, idKey, update.Size());
    for (const JsonValue& change : update.GetArray()) {
      const std::string_view id = InstanceIdOf(change, idKey);
      JsonValue* instance = instances.Find(id);
      if (instance == nullptr) {
        JsonValue created(rapidjson::kObjectType);
        created.AddMember(TextValue(idKey, allocator_), TextValue(id, allocator_), allocator_);
        elements.PushBack(created, allocator_);
        instances.TakeLast();
        instance = elements.End() - 1;
      }
      MergeMembers(*instance, change, items);
    }
  }

  void SetMember(MemberEditor& members, std::string_view name, const JsonValue& update) {
    const JsonValue* member = members.Find(name);
    if (member != nullptr && *member == update) return;
    JsonValue copy(update, allocator_);
    members.Remove(name);
    members.Append(name, copy);
  }

  JsonAllocator& allocator_;
  const JsonValue* idMap_;
};

}  // namespace

void UpdateConfigInternal(const std::shared_ptr<ConfigStoreObject>& update, std::shared_ptr<ConfigStoreObject>& target,
                          std::shared_ptr<JsonDoc> document, const OrvoSchemaStore::SchemaObject* schema) {
  if (update == nullptr || update == target) return;
  if (target == nullptr) {
    target = update;
    return;
  }
  if (document == nullptr) document = target->GetJsonDocPtr();
  const JsonValue& changes = *std::as_const(*update->GetJsonDocPtr()).GetJsonValuePtr();
  if (!changes.IsObject()) ThrowInvalidJson();
  JsonValue& data = *target->GetJsonDocPtr()->GetJsonValuePtr();
  if (!data.IsObject()) ThrowInvalidJson();
  const std::shared_ptr<JsonDoc> idMap = target->GetIdMap();
  Merge merge(*document->allocator, idMap == nullptr ? nullptr : idMap->GetJsonValuePtr());
  merge.MergeMembers(data, changes, schema == nullptr ? nullptr : &ObjectNodeOf(*schema));
}

}  // namespace OrvoConfigStore
