#include "failure.h"

#include <configstore/object_name.h>

#include <cstring>
#include <new>
#include <set>
#include <utility>

#include "diagnosis.h"
#include "json_text.h"
#include "known_type.h"

namespace csctl {

using OrvoConfigStore::ConfigStoreException;
using OrvoConfigStore::ConfigStoreObjectId;
using OrvoConfigStore::StorageError;
using OrvoConfigStore::ValidationException;

namespace {

// What the exception's class does not say, by code and by the beginning of the
// message where a fixed text is the only sign.
struct Rule {
  int code;
  const char* messageStart;
  Exit exit;
  const char* next;
};

constexpr char kUnknownType[] = "\"csctl types\" lists the known types; \"csctl schema add FILE\" registers one";

const Rule kRules[] = {
    {OrvoConfigStore::CS_GENERAL, "Schema not found for object: ", Exit::kNotFound, kUnknownType},
    {OrvoConfigStore::CS_GENERAL, "API cannot be invoked with EXTERNAL context during boot", Exit::kRefused,
     "write again when the host has booted, or write automatic configuration with --as auto"},
    {OrvoConfigStore::CS_GENERAL, "Singleton object cannot contain instanceId", Exit::kInvalid,
     "leave out \"@INSTANCE\": the type has a single object"},
    {OrvoConfigStore::CS_GENERAL, "Non-Singleton object should contain instanceId", Exit::kInvalid,
     "name the instance, COMPONENT/GROUP/KEY@INSTANCE"},
    {OrvoConfigStore::CS_KEY_NOT_FOUND, "There is no such field: ", Exit::kNotFound,
     "\"csctl explain ID\" tells which layer a field comes from, --layer chooses another; nothing was changed"},
    {OrvoConfigStore::CS_KEY_VALUE_INVALID, "", Exit::kInvalid,
     "each element must name its instance, as a string; nothing was changed"},
    {OrvoConfigStore::CS_GENERAL, "GetInstances() API called for singleton object", Exit::kInvalid,
     "the type has a single object: use the command for that"},
    {OrvoConfigStore::CS_GENERAL, "Not a file to back up: ", Exit::kUsage,
     "name a regular file below /etc/halden, the store's own directories excepted"},
    {OrvoConfigStore::CS_GENERAL, "Cannot back up ", Exit::kStorage, "mend what the message says, then try again"},
    {OrvoConfigStore::CS_GENERAL, "Failed to reserve memory for ConfigStore", Exit::kStorage,
     "mounting takes root, and directories that can be mounted on; the system log may say more"},
    {OrvoConfigStore::CS_JSON_STRING_INVALID, "", Exit::kStorage,
     "what is stored is damaged; \"csctl layers ID\" shows it as it is"},
};

// Indexed by StorageError::Kind.
struct StorageRule {
  Exit exit;
  const char* message;
  const char* next;
};

const StorageRule kStorageRules[] = {
    {Exit::kStorage, "the store cannot be used", "run again with -v for the library's own words"},
    {Exit::kUnavailable, "there is no store", "run \"csctl init\" to create it"},
    {Exit::kUnavailable, "the store is busy", "another program is writing; try again"},
    {Exit::kRefused, "the store cannot be written", "run as a user who may write it"},
    {Exit::kStorage, "the store is damaged", "restore it from a backup"},
    {Exit::kStorage, "the store cannot be used", "mend what the database reports, then try again"},
};

const Rule* FindRule(const ConfigStoreException& error) {
  for (const Rule& rule : kRules) {
    const bool matches = std::strncmp(error.what(), rule.messageStart, std::strlen(rule.messageStart)) == 0;
    if (matches && rule.code == error.GetErrorCode()) return &rule;
  }
  return nullptr;
}

/// Whether the class alone says that the caller's data is at fault.
bool BlamesData(const ConfigStoreException& error) {
  return dynamic_cast<const ValidationException*>(&error) != nullptr ||
         dynamic_cast<const OrvoConfigStore::InvalidArgumentException*>(&error) != nullptr ||
         dynamic_cast<const OrvoConfigStore::InvalidTypeException*>(&error) != nullptr;
}

Failure ExplainLibrary(const ConfigStoreException& error) {
  Failure failure;
  const StorageError storage = OrvoConfigStore::LastStorageError();
  if (const Rule* rule = FindRule(error)) {
    failure = {rule->exit, error.what(), "", rule->next};
  } else if (BlamesData(error)) {
    failure = {Exit::kInvalid, error.what(), "", "correct it and try again; nothing was changed"};
  } else {
    failure = ExplainStorage(storage);
    const bool saysWhy = !storage.message.empty() && std::strstr(error.what(), storage.message.c_str()) != nullptr;
    failure.message = saysWhy ? error.what() : error.what() + (": " + failure.message);
  }
  failure.code = error.GetErrorCode();
  failure.detail = error.toString();
  if (const auto* validation = dynamic_cast<const ValidationException*>(&error)) {
    failure.violations = validation->GetErrors();
    failure.detail = validation->toString();
  }
  if (!storage.message.empty()) failure.detail += "Storage: " + storage.message + "\n";
  return failure;
}

std::string JsonViolation(const OrvoConfigStore::ErrorInfo& violation) {
  return JsonObject({{"field", JsonString(violation.field)}, {"error", JsonString(violation.error)}});
}

/// Returns the violations that no diagnostic tells. An object of a document may have
/// been refused by itself, its fields from its own root.
std::vector<OrvoConfigStore::ErrorInfo> Unplaced(const Failure& failure) {
  std::set<std::pair<std::string, std::string>> placed;
  for (const auto& found : failure.diagnostics) {
    const std::string& field = found.violation.field;
    const auto& object = found.object;
    const std::string type = "/components/" + object.component + "/" + object.group + "/" + object.key;
    placed.emplace(field, found.violation.error);
    if (field.compare(0, type.size(), type) == 0) placed.emplace(field.substr(type.size()), found.violation.error);
  }
  std::vector<OrvoConfigStore::ErrorInfo> unplaced;
  for (const auto& violation : failure.violations) {
    if (placed.count({violation.field, violation.error}) == 0) unplaced.push_back(violation);
  }
  return unplaced;
}

/// As AskForNearest, of the object or type that a failure names; empty when it names none.
std::string AskForNearestTo(const std::string& where) {
  try {
    const ConfigStoreObjectId id = OrvoConfigStore::ParseObjectName(where);
    return AskForNearest({id.component, id.group, id.key});
  } catch (const ConfigStoreException&) {
    return {};
  }
}

/// Indents every line of `text` and makes it printable.
std::string DetailLines(const std::string& text) {
  std::string lines;
  for (size_t at = 0; at < text.size();) {
    const size_t end = std::min(text.find('\n', at), text.size());
    lines += "  | " + Printable(text.substr(at, end - at)) + "\n";
    at = end + 1;
  }
  return lines;
}

}  // namespace

CommandFailed::CommandFailed(Failure failure) : failure_(std::move(failure)) {}

const char* CommandFailed::what() const noexcept {
  return failure_.message.c_str();
}

void FailNoUpgrade() {
  throw CommandFailed({Exit::kRefused, "the host is not upgrading", "",
                       "an upgrade is under way while the file /etc/halden/upgrade-in-progress exists"});
}

Failure ExplainStorage(const StorageError& error) {
  const StorageRule& rule = kStorageRules[error.kind];
  std::string message = rule.message;
  if (!error.message.empty()) message += " (" + error.message + ")";
  return {rule.exit, message, "", rule.next};
}

Failure Explain(const std::exception& error, const std::string& where) {
  Failure failure;
  if (const auto* found = dynamic_cast<const CommandFailed*>(&error)) {
    failure = found->GetFailure();
  } else if (const auto* library = dynamic_cast<const ConfigStoreException*>(&error)) {
    failure = ExplainLibrary(*library);
  } else if (dynamic_cast<const std::bad_alloc*>(&error) != nullptr) {
    failure = {Exit::kInternal, "out of memory", "", ""};
  } else {
    failure = {Exit::kInternal, error.what(), "", "this is a fault of csctl or its library; please report it"};
  }
  if (failure.where.empty()) failure.where = where;
  if (failure.next == kUnknownType) failure.next = AskForNearestTo(failure.where) + failure.next;
  return failure;
}

std::string ToText(const Failure& failure, bool withDetail) {
  std::string text = "csctl: ";
  if (!failure.where.empty()) text += Printable(failure.where) + ": ";
  text += Printable(failure.message) + "\n";
  for (const auto& found : failure.diagnostics) text += "  " + DiagnosticLine(found) + "\n";
  for (const auto& violation : Unplaced(failure)) {
    text += "  " + Printable(violation.field) + ": " + Printable(violation.error) + "\n";
  }
  if (!failure.next.empty()) text += "next: " + failure.next + "\n";
  return withDetail ? text + DetailLines(failure.detail) : text;
}

std::string ToJson(const Failure& failure, bool withDetail) {
  std::vector<std::string> violations;
  for (const auto& violation : failure.violations) violations.push_back(JsonViolation(violation));
  std::vector<std::pair<std::string, std::string>> members = {
      {"exit", std::to_string(static_cast<int>(failure.exit))},
      {"code", std::to_string(failure.code)},
      {"message", JsonString(failure.message)},
      {"where", JsonString(failure.where)},
      {"next", JsonString(failure.next)},
      {"violations", JsonArray(violations)},
  };
  if (!failure.diagnostics.empty()) {
    std::vector<std::string> diagnostics;
    for (const auto& found : failure.diagnostics) diagnostics.push_back(DiagnosticJson(found));
    members.emplace_back("diagnostics", JsonArray(diagnostics));
  }
  if (withDetail) members.emplace_back("detail", JsonString(failure.detail));
  return JsonObject({{"error", JsonObject(members)}}) + "\n";
}

}  // namespace csctl
