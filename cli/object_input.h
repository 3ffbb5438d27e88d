#pragma once

#include <configstore/config_store.h>
#include <configstore/errors.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "arguments.h"
#include "session.h"

namespace csctl {

constexpr char kIdHelp[] = "The object: COMPONENT/GROUP/KEY[@INSTANCE], \"%XX\" for any byte";
constexpr char kTypeHelp[] = "The type: COMPONENT/GROUP/KEY, \"%XX\" for any byte";

[[noreturn]] void FailNotFound(const char* message, const char* next);

/// A JSON text and what it is called: a file's path, or "standard input".
struct InputText {
  std::string name;
  std::string text;
};

/// Reads a file, "-" for standard input. Throws CommandFailed(kUsage) when it cannot
/// be read.
InputText ReadText(const std::string& file);

/// Make of a text what it is for: one object of the type of `id`, an array of
/// instances, a pattern. Throw CommandFailed(kInvalid) when the text is none.
std::shared_ptr<OrvoConfigStore::ConfigStoreObject> ParseObject(const OrvoConfigStore::ConfigStoreObjectId& id,
                                                                const InputText& input);
std::vector<std::shared_ptr<OrvoConfigStore::ConfigStoreObject>> ParseInstances(
    const OrvoConfigStore::ConfigStoreObjectId& type, const InputText& input);
std::shared_ptr<OrvoConfigStore::FilterSpecObject> ParsePattern(const OrvoConfigStore::ConfigStoreObjectId& type,
                                                                const InputText& input);

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
void AddShowSecrets(Arguments& arguments, ShowOptions& options);

}  // namespace csctl
