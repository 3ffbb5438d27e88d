#pragma once

#include <configstore/config_store.h>
#include <configstore/errors.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "session.h"

namespace CLI {
class App;
}

namespace csctl {

constexpr char kIdHelp[] = "The object: COMPONENT/GROUP/KEY[@INSTANCE], \"%XX\" for any byte";
constexpr char kTypeHelp[] = "The type: COMPONENT/GROUP/KEY, \"%XX\" for any byte";

[[noreturn]] void FailNotFound(const char* message, const char* next);

[[noreturn]] void BlameInput(const OrvoConfigStore::InvalidArgumentException& error, const std::string& file,
                             const char* expected);

/// Reads `file` and hands its text to `make`; what that refuses is blamed on the file.
template <class Make>
auto ReadJson(const std::string& file, const char* expected, Make make) {
  const std::string text = ReadInput(file);
  try {
    return make(text);
  } catch (const OrvoConfigStore::InvalidArgumentException& error) {
    BlameInput(error, file, expected);
  }
}

/// Read JSON of the type of `id` from a file, "-" for standard input: one object,
/// an array of instances, a pattern. Throw CommandFailed(kInvalid) when the text
/// is none, (kUsage) when the file cannot be read.
std::shared_ptr<OrvoConfigStore::ConfigStoreObject> ReadObject(const OrvoConfigStore::ConfigStoreObjectId& id,
                                                               const std::string& file);
std::vector<std::shared_ptr<OrvoConfigStore::ConfigStoreObject>> ReadInstances(
    const OrvoConfigStore::ConfigStoreObjectId& type, const std::string& file);
std::shared_ptr<OrvoConfigStore::FilterSpecObject> ReadPattern(const OrvoConfigStore::ConfigStoreObjectId& type,
                                                               const std::string& file);

/// Returns a stored value as JSON: an object as it is, a damaged text as a string,
/// null for none.
std::string ValueJson(const std::optional<std::string>& text);

/// Whether secrets are shown, an option of every command that shows values.
struct ShowOptions {
  std::string id;
  bool showSecrets = false;

  std::string Mask(const OrvoConfigStore::ConfigStoreObjectId& object, const std::string& json) const;
};

/// Declares --show-secrets.
void AddShowSecrets(CLI::App& app, ShowOptions& options);

}  // namespace csctl
