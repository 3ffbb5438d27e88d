#include "object_input.h"

#include <configstore/inspect.h>

#include <CLI/CLI.hpp>

#include "failure.h"
#include "json_text.h"

namespace csctl {

using OrvoConfigStore::ConfigStore;
using OrvoConfigStore::ConfigStoreObject;
using OrvoConfigStore::ConfigStoreObjectId;
using OrvoConfigStore::FilterSpecObject;

void BlameInput(const OrvoConfigStore::InvalidArgumentException& error, const std::string& file, const char* expected) {
  Failure failure{Exit::kInvalid, error.what(), file == "-" ? "standard input" : file,
                  std::string("give ") + expected + " of at most 16 MiB and 512 levels; nothing was changed"};
  failure.code = error.GetErrorCode();
  failure.detail = error.toString();
  throw CommandFailed(failure);
}

void FailNotFound(const char* message, const char* next) {
  throw CommandFailed({Exit::kNotFound, message, "", next});
}

std::shared_ptr<ConfigStoreObject> ReadObject(const ConfigStoreObjectId& id, const std::string& file) {
  return ReadJson(file, "one JSON object",
                  [&](const std::string& text) { return ConfigStore::CreateObject(id, text); });
}

std::vector<std::shared_ptr<ConfigStoreObject>> ReadInstances(const ConfigStoreObjectId& type,
                                                              const std::string& file) {
  return ReadJson(file, "a JSON array of objects",
                  [&](const std::string& text) { return ConfigStore::CreateInstances(type, text); });
}

std::shared_ptr<FilterSpecObject> ReadPattern(const ConfigStoreObjectId& type, const std::string& file) {
  return ReadJson(file, "one JSON object", [&](const std::string& text) {
    ConfigStore::CreateObject(type, text);  // refuses what is no object
    return std::make_shared<FilterSpecObject>(type, OrvoConfigStore::CreateDocumentFromString(text));
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

void AddShowSecrets(CLI::App& app, ShowOptions& options) {
  app.add_flag("--show-secrets", options.showSecrets, "Show secrets instead of a mask");
}

}  // namespace csctl
