#include "object_input.h"
#include "arguments.h"

#include <configstore/inspect.h>

#include "failure.h"
#include "json_text.h"

namespace csctl {

using OrvoConfigStore::ConfigStore;
using OrvoConfigStore::ConfigStoreObject;
using OrvoConfigStore::ConfigStoreObjectId;
using OrvoConfigStore::FilterSpecObject;
using OrvoConfigStore::InvalidArgumentException;

namespace {

[[noreturn]] void BlameInput(const InvalidArgumentException& error, const InputText& input, const char* expected) {
  Failure failure{Exit::kInvalid, error.what(), input.name,
                  std::string("give ") + expected + " of at most 16 MiB and 512 levels; nothing was changed"};
  failure.code = error.GetErrorCode();
  failure.detail = error.toString();
  if (const auto found = OrvoConfigStore::FindSyntaxError(input.text)) failure.diagnostics.push_back(*found);
  throw CommandFailed(failure);
}

/// Returns what `parse` makes of the input; what it refuses is blamed on that, and so
/// is a member that comes twice, of which readers would take one or the other.
template <class Parse>
auto Parsed(const InputText& input, const char* expected, Parse parse) {
  try {
    auto parsed = parse();
    if (!OrvoConfigStore::FindSyntaxError(input.text)) return parsed;
    throw InvalidArgumentException(OrvoConfigStore::CS_JSON_STRING_INVALID, "Failed to parse JSON String");
  } catch (const InvalidArgumentException& error) {
    BlameInput(error, input, expected);
  }
}

}  // namespace

void FailNotFound(const char* message, const char* next) {
  throw CommandFailed({Exit::kNotFound, message, "", next});
}

InputText ReadText(const std::string& file) {
  return {file == "-" ? "standard input" : file, ReadInput(file)};
}

std::shared_ptr<ConfigStoreObject> ParseObject(const ConfigStoreObjectId& id, const InputText& input) {
  return Parsed(input, "one JSON object", [&] { return ConfigStore::CreateObject(id, input.text); });
}

std::vector<std::shared_ptr<ConfigStoreObject>> ParseInstances(const ConfigStoreObjectId& type,
                                                               const InputText& input) {
  return Parsed(input, "a JSON array of objects", [&] { return ConfigStore::CreateInstances(type, input.text); });
}

std::shared_ptr<FilterSpecObject> ParsePattern(const ConfigStoreObjectId& type, const InputText& input) {
  return Parsed(input, "one JSON object", [&] {
    ConfigStore::CreateObject(type, input.text);  // refuses what is no object
    return std::make_shared<FilterSpecObject>(type, OrvoConfigStore::CreateDocumentFromString(input.text));
  });
}

std::string ValueJson(const std::optional<std::string>& text) {
  if (!text) return "null";
  try {
    OrvoConfigStore::CreateDocumentFromString(*text);
    return *text;
  } catch (const OrvoConfigStore::ConfigStoreException&) {
    return JsonString(*text);
  }
}

std::string ShowOptions::Mask(const ConfigStoreObjectId& object, const std::string& json) const {
  return showSecrets ? json : OrvoConfigStore::MaskSecrets(object, json);
}

void AddShowSecrets(Arguments& arguments, ShowOptions& options) {
  arguments.Flag("--show-secrets", options.showSecrets, "Show secrets instead of a mask");
}

}  // namespace csctl
