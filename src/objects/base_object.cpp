#include "configstore/base_object.h"

#include <cmath>
#include <functional>
#include <memory>
#include <utility>

#include "configstore/errors.h"
#include "configstore/logging.h"
#include "objects/json_access.h"

namespace OrvoConfigStore {
namespace {

std::shared_ptr<JsonDoc> EmptyObjectDocument() {
  std::shared_ptr<JsonDoc> doc = CreateDocument();
  doc->document->SetObject();
  return doc;
}

[[noreturn]] void ThrowWrongType(const char* key) {
  throw InvalidTypeException(CS_GENERAL, (std::string("Invalid type specified for: ") + key).c_str());
}

[[noreturn]] void ThrowBadArgument(const std::string& message) {
  throw InvalidArgumentException(CS_GENERAL, message.c_str());
}

JsonValue FiniteNumber(double value) {
  if (!std::isfinite(value)) ThrowBadArgument("value must be a finite number");
  return JsonValue(value);
}

// Deliberate: an integer element is refused, as the scalar getter refuses one.
double ExactDouble(const JsonValue& element) {
  if (!element.IsDouble()) ThrowInvalidJson();
  return element.GetDouble();
}

const char* NonNull(const char* value) {
  if (value == nullptr) ThrowBadArgument("value cannot be null");
  return value;
}

}  // namespace

BaseObject::BaseObject(const ConfigStoreObjectId& id) : id_(id), doc_(EmptyObjectDocument()) {}

BaseObject::BaseObject(const ConfigStoreObjectId& id, void* value) : BaseObject(id) {
  if (value != nullptr) doc_->document->CopyFrom(*static_cast<const JsonValue*>(value), *doc_->allocator);
}

BaseObject::BaseObject(const ConfigStoreObjectId& id, std::shared_ptr<JsonDoc> doc) : id_(id), doc_(std::move(doc)) {}

BaseObject::~BaseObject() = default;

std::shared_ptr<JsonDoc> BaseObject::GetJsonDocPtr() const {
  return doc_;
}

const JsonValue* BaseObject::GetValuePtr(const char* key) const {
  if (key == nullptr || *key == '\0') ThrowBadArgument("key cannot be empty");
  const JsonValue* value = FindValue(std::as_const(*doc_->GetJsonValuePtr()), key);
  return value == nullptr || value->IsNull() ? nullptr : value;
}

const JsonValue* BaseObject::GetValuePtrDefault(const char* key, bool& isDefault) const {
  isDefault = false;
  return GetValuePtr(key);
}

const ConfigStoreObjectId& BaseObject::GetId() const {
  return id_;
}

void BaseObject::SetData(const char* json) {
  if (json != nullptr) doc_ = CreateDocumentFromString(json);
}

std::string BaseObject::GetData() const {
  std::string text;
  SerializeValue(*doc_->GetJsonValuePtr(), text);
  return text;
}

// Reading: one template per shape, a line per type.

template <class T, class Test, class Convert>
int ReadOnlyObject::GetScalar(const char* key, T* value, Test test, Convert convert) const {
  bool isDefault = false;
  const JsonValue* found = GetValuePtrDefault(key, isDefault);
  if (found == nullptr) return 0;
  if (!(found->*test)()) ThrowWrongType(key);
  *value = static_cast<T>((found->*convert)());
  return isDefault ? 2 : 1;
}

int ReadOnlyObject::GetValue(const char* key, std::string* value) const {
  return GetScalar(key, value, &JsonValue::IsString, &JsonValue::GetString);
}
int ReadOnlyObject::GetValue(const char* key, double* value) const {
  return GetScalar(key, value, &JsonValue::IsDouble, &JsonValue::GetDouble);
}
int ReadOnlyObject::GetValue(const char* key, int* value) const {
  return GetScalar(key, value, &JsonValue::IsInt, &JsonValue::GetInt);
}
int ReadOnlyObject::GetValue(const char* key, long* value) const {
  return GetScalar(key, value, &JsonValue::IsInt64, &JsonValue::GetInt64);
}
int ReadOnlyObject::GetValue(const char* key, long long* value) const {
  return GetScalar(key, value, &JsonValue::IsInt64, &JsonValue::GetInt64);
}
int ReadOnlyObject::GetValue(const char* key, unsigned int* value) const {
  return GetScalar(key, value, &JsonValue::IsUint, &JsonValue::GetUint);
}
int ReadOnlyObject::GetValue(const char* key, unsigned short* value) const {
  return GetScalar(key, value, &JsonValue::IsUint, &JsonValue::GetUint);
}
int ReadOnlyObject::GetValue(const char* key, unsigned char* value) const {
  return GetScalar(key, value, &JsonValue::IsUint, &JsonValue::GetUint);
}
int ReadOnlyObject::GetValue(const char* key, bool* value) const {
  return GetScalar(key, value, &JsonValue::IsBool, &JsonValue::GetBool);
}

template <class T, class Element>
int ReadOnlyObject::GetValueVector(const char* key, std::vector<T>* values, Element element) const {
  if (!values->empty()) ThrowBadArgument("Output vector must be empty.");
  bool isDefault = false;
  const JsonValue* found = GetValuePtrDefault(key, isDefault);
  if (found == nullptr) return 0;
  if (!found->IsArray()) ThrowWrongType(key);
  for (const JsonValue& item : found->GetArray()) values->push_back(std::invoke(element, item));
  return isDefault ? 2 : 1;
}

int ReadOnlyObject::GetValue(const char* key, std::vector<bool>* values) const {
  return GetValueVector(key, values, &JsonValue::GetBool);
}
int ReadOnlyObject::GetValue(const char* key, std::vector<int>* values) const {
  return GetValueVector(key, values, &JsonValue::GetInt);
}
int ReadOnlyObject::GetValue(const char* key, std::vector<long long>* values) const {
  return GetValueVector(key, values, &JsonValue::GetInt64);
}
int ReadOnlyObject::GetValue(const char* key, std::vector<double>* values) const {
  return GetValueVector(key, values, &ExactDouble);
}
int ReadOnlyObject::GetValue(const char* key, std::vector<std::string>* values) const {
  return GetValueVector(key, values, &JsonValue::GetString);
}

int ReadOnlyObject::GetValueBinary(const char* key, unsigned char** data, unsigned long* length) const {
  std::string text;
  const int found = GetValue(key, &text);
  if (found != 0 && !DecodeBinary(text, data, length)) {
    throw ConfigStoreException(CS_GENERAL, "Failed to decode binary value");
  }
  return found;
}

// Writing: everything goes through PutValue or PushElement.

void WritableObject::PutValue(const char* key, JsonValue& value) {
  GetValuePtr(key);  // refuses an empty key
  JsonValue& object = *doc_->GetJsonValuePtr();
  JsonValue* existing = FindValue(object, key);
  if (existing != nullptr && !existing->IsNull()) {
    *existing = value;
  } else {
    object.AddMember(TextValue(key, *doc_->allocator), value, *doc_->allocator);
  }
}

void WritableObject::SetValue(const char* key, int value) {
  JsonValue number(value);
  PutValue(key, number);
}
void WritableObject::SetValue(const char* key, long value) {
  SetValue(key, static_cast<long long>(value));
}
void WritableObject::SetValue(const char* key, long long value) {
  JsonValue number(static_cast<int64_t>(value));
  PutValue(key, number);
}
void WritableObject::SetValue(const char* key, unsigned int value) {
  JsonValue number(value);
  PutValue(key, number);
}
void WritableObject::SetValue(const char* key, unsigned short value) {
  SetValue(key, static_cast<unsigned int>(value));
}
void WritableObject::SetValue(const char* key, unsigned char value) {
  SetValue(key, static_cast<unsigned int>(value));
}
void WritableObject::SetValue(const char* key, double value) {
  JsonValue number = FiniteNumber(value);
  PutValue(key, number);
}
void WritableObject::SetValue(const char* key, float value) {
  SetValue(key, static_cast<double>(value));
}
void WritableObject::SetValue(const char* key, bool value) {
  JsonValue flag(value);
  PutValue(key, flag);
}
void WritableObject::SetValue(const char* key, const char* value) {
  JsonValue text = TextValue(NonNull(value), *doc_->allocator);
  PutValue(key, text);
}
void WritableObject::SetValue(const char* key, const std::string& value) {
  SetValue(key, value.c_str());
}

template <class T>
void WritableObject::SetValue(const char* key, const std::vector<T>& values) {
  SetValueEmptyList(key);
  for (const T& value : values) AppendValue(key, value);
}

template CONFIGSTORE_API void WritableObject::SetValue<int>(const char*, const std::vector<int>&);
template CONFIGSTORE_API void WritableObject::SetValue<std::string>(const char*, const std::vector<std::string>&);

void WritableObject::SetValueEmptyList(const char* key) {
  GetValuePtr(key);  // refuses an empty key
  JsonValue& object = *doc_->GetJsonValuePtr();
  object.EraseMember(key);
  object.AddMember(TextValue(key, *doc_->allocator), JsonValue(rapidjson::kArrayType), *doc_->allocator);
}

void WritableObject::ValidateAppend(const char* key, bool (JsonValue::*isType)() const) const {
  if (!CheckKey(key)) ThrowBadArgument(std::string("Key not found: ") + key);
  const JsonValue* list = GetValuePtr(key);
  if (list == nullptr || !list->IsArray()) ThrowWrongType(key);
  if (!list->Empty() && !((*list)[0].*isType)()) ThrowWrongType(key);
}

void WritableObject::PushElement(const char* key, bool (JsonValue::*isType)() const, JsonValue& value) {
  ValidateAppend(key, isType);
  FindValue(*doc_->GetJsonValuePtr(), key)->PushBack(value, *doc_->allocator);
}

void WritableObject::AppendValue(const char* key, int value) {
  JsonValue number(value);
  PushElement(key, &JsonValue::IsInt, number);
}
void WritableObject::AppendValue(const char* key, long long value) {
  JsonValue number(static_cast<int64_t>(value));
  PushElement(key, &JsonValue::IsInt64, number);
}
void WritableObject::AppendValue(const char* key, double value) {
  JsonValue number = FiniteNumber(value);
  PushElement(key, &JsonValue::IsDouble, number);
}
void WritableObject::AppendValue(const char* key, bool value) {
  JsonValue flag(value);
  PushElement(key, &JsonValue::IsBool, flag);
}
void WritableObject::AppendValue(const char* key, const char* value) {
  JsonValue text = TextValue(NonNull(value), *doc_->allocator);
  PushElement(key, &JsonValue::IsString, text);
}
void WritableObject::AppendValue(const char* key, const std::string& value) {
  AppendValue(key, value.c_str());
}

bool WritableObject::CheckKey(const char* key) const {
  GetValuePtr(key);  // refuses an empty key
  if (FindValue(std::as_const(*doc_->GetJsonValuePtr()), key) != nullptr) return true;
  CSLogger::Log(CSLogger::LOG_PRIORITY_ERROR, "Key not found: %s", key);
  return false;
}

bool WritableObject::Remove(const char* key) {
  return CheckKey(key) && doc_->GetJsonValuePtr()->RemoveMember(key);
}

void WritableObject::SetValueBinary(const char* key, const unsigned char* data, unsigned long length) {
  if (data == nullptr || length == 0) ThrowBadArgument("Value pointer cannot be null and length cannot be zero");
  std::string text;
  if (!EncodeBinary(data, length, text) || text.empty()) {
    throw ConfigStoreException(CS_GENERAL, "Failed to encode input binary value");
  }
  SetValue(key, text);
}

}  // namespace OrvoConfigStore
