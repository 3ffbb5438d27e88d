#include "configstore/json_document.h"

#include <sys/stat.h>

#include <cstring>
#include <utility>

#include "configstore/base_object.h"
#include "configstore/errors.h"
#include "configstore/logging.h"
#include "objects/json_access.h"
#include "platform/host_files.h"
#include "platform/host_util.h"
#include "platform/json_reader.h"

namespace OrvoConfigStore {
namespace {

// Whether `out` got the whole of a regular file that is no larger than an object may be.
bool ReadRegularFile(const std::string& path, std::string& out) {
  struct stat status {};
  if (stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return false;
  return HaldenLib::ReadRealFile(path, kMaxJsonBytes, &out) == 0;
}

std::shared_ptr<JsonDoc> ParseDocument(const std::string& text) {
  JsonReadFailure failure{0, "Text is longer than 16 MiB."};
  std::shared_ptr<JsonDoc> doc = NewDocument(text.size() <= kMaxJsonBytes ? text.size() : 0);
  if (text.size() <= kMaxJsonBytes && ReadJson(text, *doc->document, &failure)) return doc;
  CSLogger::Log(CSLogger::LOG_PRIORITY_ERROR, "JSON text refused at byte %zu: %s", failure.offset, failure.reason);
  return nullptr;
}

bool IsInstance(const JsonValue& element, const JsonNode& step) {
  const JsonValue* identifier = element.IsObject() ? FindValue(element, step.idKey) : nullptr;
  return identifier != nullptr && identifier->IsString() && TextOf(*identifier) == step.idValue;
}

JsonValue& FindInstance(JsonValue& elements, const JsonNode& step) {
  if (step.place < elements.Size() && IsInstance(elements[step.place], step)) return elements[step.place];
  const int index = FindInstanceIndex(elements, step.idKey, step.idValue);
  if (index < 0) {
    CSLogger::Log(CSLogger::LOG_PRIORITY_ERROR, "Cannot find subobject instance %s=%s", step.idKey.c_str(),
                  step.idValue.c_str());
    throw ConfigStoreException(CS_GENERAL, "Subobject instance does not exists.");
  }
  step.place = static_cast<uint32_t>(index);
  return elements[step.place];
}

}  // namespace

JsonDoc::JsonDoc(std::shared_ptr<JsonDocument> documentOf, std::shared_ptr<JsonAllocator> allocatorOf,
                 std::vector<JsonNode> pathTo)
    : path(std::move(pathTo)), document(std::move(documentOf)), allocator(std::move(allocatorOf)) {}

JsonDoc::~JsonDoc() = default;

JsonValue* JsonDoc::GetJsonValuePtr() {
  JsonValue* current = document.get();
  for (const JsonNode& step : path) {
    if (!current->IsObject()) ThrowInvalidJson();
    const auto member = current->FindMember(NameRef(step.name));
    if (member == current->MemberEnd()) {
      CSLogger::Log(CSLogger::LOG_PRIORITY_ERROR, "Cannot find subobject %s", step.name.c_str());
      throw ConfigStoreException(CS_GENERAL, "Subobject does not exists.");
    }
    current = member->value.IsArray() ? &FindInstance(member->value, step) : &member->value;
  }
  return current;
}

const JsonValue* JsonDoc::GetJsonValuePtr() const {
  return const_cast<JsonDoc*>(this)->GetJsonValuePtr();
}

int FindInstanceIndex(const JsonValue& elements, const std::string& idKey, const std::string& instanceId) {
  int index = 0;
  for (const JsonValue& element : elements.GetArray()) {
    if (!element.IsObject()) ThrowInvalidJson();
    const auto identifier = element.FindMember(NameRef(idKey));
    if (identifier == element.MemberEnd() || !identifier->value.IsString()) ThrowInvalidJson();
    if (TextOf(identifier->value) == instanceId) return index;
    ++index;
  }
  return -1;
}

std::shared_ptr<JsonDoc> DocOver(std::shared_ptr<JsonStorage> storage) {
  JsonStorage& parts = *storage;
  std::shared_ptr<JsonDocument> document(storage, &parts.document);
  std::shared_ptr<JsonAllocator> allocator(std::move(storage), &parts.allocator);
  return std::make_shared<JsonDoc>(std::move(document), std::move(allocator), std::vector<JsonNode>());
}

std::shared_ptr<JsonDoc> NewDocument(size_t textLength) {
  return DocOver(NewStorage(textLength));
}

std::shared_ptr<JsonDoc> CreateDocument() {
  return NewDocument(0);
}

std::shared_ptr<JsonDoc> CreateDocumentFromString(const std::string& text) {
  std::shared_ptr<JsonDoc> doc = ParseDocument(text);
  if (doc == nullptr) ThrowException<InvalidArgumentException>(CS_JSON_STRING_INVALID);
  return doc;
}

std::shared_ptr<JsonDoc> CreateDocumentFromFile(const std::string& path) {
  std::string text;
  std::shared_ptr<JsonDoc> doc = ReadRegularFile(path, text) ? ParseDocument(text) : nullptr;
  if (doc == nullptr) ThrowException<InvalidArgumentException>(CS_JSON_FILE_INVALID, path.c_str());
  return doc;
}

void SerializeValue(const JsonValue& value, std::string& out) {
  out.clear();
  if (!WriteJson(value, out)) ThrowInvalidJson();
}

std::shared_ptr<JsonDoc> GetJsonDocPtrEx(BaseObject* object) {
  return object->GetJsonDocPtr();
}

const JsonValue* GetValuePtrDefaultEx(BaseObject* object, const std::string& key) {
  bool ignored = false;
  return object->GetValuePtrDefault(key.c_str(), ignored);
}

bool endsWith(const std::string& s, const std::string& suffix) {
  return s.size() >= suffix.size() && s.compare(s.size() - suffix.size(), suffix.size(), suffix) == 0;
}

bool EncodeBinary(const unsigned char* data, unsigned long length, std::string& out) {
  std::string text(HaldenLib::Base64_EncodedLength(data, length), '\0');
  size_t written = 0;
  if (!HaldenLib::Base64_Encode(data, length, text.data(), text.size(), &written)) return false;
  text.resize(written);
  out = std::move(text);
  return true;
}

bool DecodeBinary(std::string& text, unsigned char** data, unsigned long* length) {
  const size_t size = HaldenLib::Base64_DecodedLength(text.data(), text.size());
  auto buffer = std::make_unique<unsigned char[]>(size);
  size_t written = 0;
  if (!HaldenLib::Base64_Decode(text.data(), text.size(), buffer.get(), size, &written)) return false;
  *data = buffer.release();
  *length = written;
  return true;
}

}  // namespace OrvoConfigStore
