#include "store/update_merge.h"

#include <string>
#include <utility>

#include "configstore/errors.h"
#include "platform/json_values.h"
#include "store/member_editor.h"

namespace OrvoConfigStore {
namespace {

// One merge: where values are allocated, and which arrays hold instances.
class Merge {
 public:
  Merge(JsonAllocator& allocator, const JsonValue* idMap) : allocator_(allocator), idMap_(idMap) {}

  void MergeMembers(JsonValue& target, const JsonValue& update) {
    MemberEditor members(target, update.MemberCount(), allocator_);
    for (const auto& change : update.GetObject()) {
      const std::string_view name = TextOf(change.name);
      if (change.value.IsObject()) {
        MergeSubObject(members, name, change.value);
      } else if (const JsonValue* idKey = change.value.IsArray() ? IdKeyOf(name) : nullptr) {
        MergeInstances(members, name, change.value, std::string(TextOf(*idKey)));
      } else {
        SetMember(members, name, change.value);
      }
    }
  }

 private:
  const JsonValue* IdKeyOf(std::string_view name) const {
    return idMap_ == nullptr ? nullptr : FindValue(*idMap_, name);
  }

  // Returns the member, created empty when it is missing or null.
  JsonValue& FindOrCreate(MemberEditor& members, std::string_view name, rapidjson::Type type) {
    JsonValue empty(type);
    JsonValue* member = members.Find(name);
    if (member == nullptr) return members.Append(name, empty);
    if (member->IsNull()) *member = empty;
    return *member;
  }

  void MergeSubObject(MemberEditor& members, std::string_view name, const JsonValue& update) {
    const SubObjectId sid{std::string(name)};
    if (IdKeyOf(name) != nullptr) {
      throw ConfigStoreException(CS_GENERAL,
                                 ("Non-Singleton object should contain instanceId: " + sid.toString()).c_str());
    }
    JsonValue& target = FindOrCreate(members, name, rapidjson::kObjectType);
    if (!target.IsObject()) {
      throw InvalidArgumentException(CS_GENERAL, ("Not a singleton SubObject: " + sid.toString()).c_str());
    }
    MergeMembers(target, update);
  }

  void MergeInstances(MemberEditor& members, std::string_view name, const JsonValue& update, const std::string& idKey) {
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
      MergeMembers(*instance, change);
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
                          std::shared_ptr<JsonDoc> document) {
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
  Merge(*document->allocator, idMap == nullptr ? nullptr : idMap->GetJsonValuePtr()).MergeMembers(data, changes);
}

}  // namespace OrvoConfigStore
