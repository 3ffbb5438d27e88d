#include "configstore/filter_spec.h"

#include <algorithm>
#include <utility>

#include "configstore/config_store_object.h"
#include "configstore/errors.h"
#include "configstore/logging.h"
#include "objects/instance_filter.h"
#include "objects/json_access.h"

namespace OrvoConfigStore {
namespace {

void LogCall(const char* operation, const SubObjectId& sid) {
  if (!CSLogger::WouldLog(CSLogger::LOG_PRIORITY_TRACE)) return;
  CSLogger::Log(CSLogger::LOG_PRIORITY_TRACE, "%s invoked for: %s", operation, sid.toString().c_str());
}

std::shared_ptr<JsonDoc> PatternOrEmpty(const std::shared_ptr<JsonDoc>& data) {
  if (data != nullptr) return data;
  std::shared_ptr<JsonDoc> empty = CreateDocument();
  empty->document->SetObject();
  return empty;
}

// Whether `instance` holds every member of `pattern`; the first that it does not
// hold ends the test. Throws "Invalid JSON" where an object is needed and none is there.
bool csoMatchesFilter(const JsonValue& instance, const JsonValue& pattern) {
  if (!pattern.IsObject()) ThrowInvalidJson();
  for (const auto& condition : pattern.GetObject()) {
    if (!instance.IsObject()) ThrowInvalidJson();
    const JsonValue* member = FindValue(instance, TextOf(condition.name));
    if (member == nullptr) return false;
    if (member->IsArray()) {
      CSLogger::Log(CSLogger::LOG_PRIORITY_ERROR, "%s: Non-Singleton SubObject filtering not supported",
                    "csoMatchesFilter");
      return false;
    }
    if (member->IsObject() != condition.value.IsObject()) return false;
    const bool matches = member->IsObject() ? csoMatchesFilter(*member, condition.value) : *member == condition.value;
    if (!matches) return false;
  }
  return true;
}

}  // namespace

FilterSpecObject::FilterSpecObject(const std::string& key, const std::string& group, const std::string& component,
                                   const std::shared_ptr<JsonDoc>& data)
    : FilterSpecObject(ConfigStoreObjectId(key, group, component), data) {}

FilterSpecObject::FilterSpecObject(const ConfigStoreObjectId& id) : WritableObject(id) {}

FilterSpecObject::FilterSpecObject(const ConfigStoreObjectId& id, const std::shared_ptr<JsonDoc>& data)
    : WritableObject(id, PatternOrEmpty(data)) {}

std::shared_ptr<FilterSpecObject> FilterSpecObject::MakeSubFilter(const SubObjectId& sid) const {
  std::vector<JsonNode> path = doc_->path;
  path.push_back({sid.key, "", ""});
  return std::make_shared<FilterSpecObject>(
      ConfigStoreObjectId(sid.key, id_.group, id_.component, sid.instanceId),
      std::make_shared<JsonDoc>(doc_->document, doc_->allocator, std::move(path)));
}

std::shared_ptr<FilterSpecObject> FilterSpecObject::CreateSubObjectFilter(const SubObjectId& sid) {
  LogCall("CreateSubObjectFilter", sid);
  JsonValue& pattern = *doc_->GetJsonValuePtr();
  if (FindValue(pattern, sid.key) != nullptr) {
    throw ConfigStoreException(CS_GENERAL, "SubObject filter already exists.");
  }
  pattern.AddMember(TextValue(sid.key, *doc_->allocator), JsonValue(rapidjson::kObjectType), *doc_->allocator);
  return MakeSubFilter(sid);
}

std::shared_ptr<FilterSpecObject> FilterSpecObject::GetSubObjectFilter(const SubObjectId& sid) const {
  LogCall("GetSubObjectFilter", sid);
  const JsonValue& pattern = *std::as_const(*doc_).GetJsonValuePtr();
  return FindValue(pattern, sid.key) == nullptr ? nullptr : MakeSubFilter(sid);
}

bool FilterSpecObject::DeleteSubObjectFilter(const SubObjectId& sid) {
  LogCall("DeleteSubObjectFilter", sid);
  return doc_->GetJsonValuePtr()->RemoveMember(NameRef(sid.key));
}

std::vector<std::shared_ptr<ConfigStoreObject>> FilterConfigStoreObjects(
    std::vector<std::shared_ptr<ConfigStoreObject>>& objects, const std::shared_ptr<FilterSpecObject>& filter) {
  std::vector<std::shared_ptr<ConfigStoreObject>> kept;
  if (objects.empty()) return kept;
  const InstanceFilter taken(*filter);
  if (filter->GetId().instanceId.empty()) {
    std::copy_if(objects.begin(), objects.end(), std::back_inserter(kept),
                 [&](const auto& object) { return taken.HasValues(*object); });
    return kept;
  }
  const auto named =
      std::find_if(objects.begin(), objects.end(), [&](const auto& object) { return taken.IsNamed(*object); });
  if (named != objects.end() && taken.HasValues(**named)) kept.push_back(*named);
  return kept;
}

InstanceFilter::InstanceFilter(const FilterSpecObject& filter)
    : pattern_(*std::as_const(*filter.GetJsonDocPtr()).GetJsonValuePtr()), instanceId_(filter.GetId().instanceId) {}

bool InstanceFilter::IsNamed(const ConfigStoreObject& object) const {
  return instanceId_.empty() || object.GetId().instanceId == instanceId_;
}

bool InstanceFilter::HasValues(const ConfigStoreObject& object) const {
  const bool matchesAll = pattern_.IsObject() && pattern_.ObjectEmpty();
  return matchesAll || csoMatchesFilter(*std::as_const(*object.GetJsonDocPtr()).GetJsonValuePtr(), pattern_);
}

bool FsoIsEmpty(const std::shared_ptr<FilterSpecObject>& filter, const char* what) {
  if (filter == nullptr) CSLogger::LogErrCode(CSLogger::LOG_PRIORITY_WARNING, CS_FILTER_EMPTY, what);
  return filter == nullptr;
}

bool ObjIsEmpty(const std::shared_ptr<ConfigStoreObject>& object, const char* what) {
  if (object == nullptr) CSLogger::LogErrCode(CSLogger::LOG_PRIORITY_WARNING, CS_OBJECT_EMPTY, what);
  return object == nullptr;
}

}  // namespace OrvoConfigStore
