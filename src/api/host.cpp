#include "configstore/host.h"

#include <sqlite3.h>
#include <sys/stat.h>

#include <set>
#include <tuple>

#include "api/nearest_name.h"
#include "configstore/errors.h"
#include "configstore/object_name.h"
#include "platform/db_store.h"
#include "platform/host_paths.h"
#include "platform/schema_check.h"
#include "platform/schema_store.h"

namespace OrvoConfigStore {
namespace {

using OrvoSchemaStore::SchemaRecord;

bool IsDirectory(const std::string& path) {
  struct stat status {};
  return stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

// SQLite's result codes as what a user can act on.
struct FaultKind {
  int code;
  StorageError::Kind kind;
};
const FaultKind kFaultKinds[] = {
    {SQLITE_OK, StorageError::NONE},
    {SQLITE_CANTOPEN, StorageError::MISSING},
    {SQLITE_BUSY, StorageError::BUSY},
    {SQLITE_LOCKED, StorageError::BUSY},
    {SQLITE_READONLY, StorageError::READ_ONLY},
    {SQLITE_PERM, StorageError::READ_ONLY},
    {SQLITE_AUTH, StorageError::READ_ONLY},
    {SQLITE_CORRUPT, StorageError::DAMAGED},
    {SQLITE_NOTADB, StorageError::DAMAGED},
};

StorageError::Kind KindOf(const DBStore::Failure& failure) {
  constexpr int kPrimary = 0xff;
  for (const FaultKind& fault : kFaultKinds) {
    if (fault.code == (failure.code & kPrimary)) return fault.kind;
  }
  // SQLite has no code of its own for a file that is a database but not ours.
  const bool lacksTable = failure.message.rfind("no such table", 0) == 0;
  return lacksTable ? StorageError::MISSING : StorageError::OTHER;
}

SchemaInfo InfoOf(const SchemaRecord& record) {
  const OrvoSchemaStore::SchemaObject schema(record);
  return {record.component, record.group,          record.key, record.version, schema.IsSingleton(),
          record.noRestore, schema.IsGeneratedId()};
}

// Reads and checks one schema file; what is wrong goes to `violations`.
SchemaRecord ReadSchemaFile(const std::string& path, std::vector<ErrorInfo>& violations) {
  SchemaRecord record;
  std::string text;
  if (!OrvoSchemaStore::ReadSchemaText(path, text)) {
    violations.push_back({path, "The file cannot be read."});
    return record;
  }
  for (const OrvoSchemaStore::SchemaFault& fault : OrvoSchemaStore::CheckSchemaText(text, record)) {
    violations.push_back({fault.path.empty() ? path : path + "#" + fault.path, fault.text});
  }
  return record;
}

}  // namespace

void SetHostRoot(const std::string& root) {
  if (!root.empty() && !IsDirectory(root)) {
    throw InvalidArgumentException(CS_GENERAL, ("The host root is no directory: " + root).c_str());
  }
  if (!HaldenLib::SetHostRoot(root)) {
    throw InvalidArgumentException(CS_GENERAL, ("The host root must be an absolute path: " + root).c_str());
  }
}

std::string GetHostRoot() {
  return HaldenLib::GetHostRoot();
}

std::string ResolveHostPath(const std::string& path) {
  return HaldenLib::ResolvePath(path);
}

void CreateDatabases() {
  if (DBStore::CreateDatabases() == 0) return;
  throw ConfigStoreException(CS_GENERAL, ("Failed to create the store: " + DBStore::LastFailure().message).c_str());
}

std::vector<SchemaInfo> RegisterSchemaFiles(const std::vector<std::string>& paths) {
  std::vector<ErrorInfo> violations;
  std::vector<SchemaRecord> records;
  std::set<std::tuple<std::string, std::string, std::string>> types;
  for (const std::string& path : paths) {
    const size_t before = violations.size();
    SchemaRecord record = ReadSchemaFile(path, violations);
    if (violations.size() != before) continue;
    if (!types.insert({record.component, record.group, record.key}).second) {
      violations.push_back({path, "Another of these files describes the same type."});
    }
    records.push_back(std::move(record));
  }
  if (!violations.empty()) {
    throw ValidationException(CS_GENERAL, "The schemas cannot be registered.", violations);
  }
  std::vector<SchemaInfo> registered;
  for (const SchemaRecord& record : records) registered.push_back(InfoOf(record));
  OrvoSchemaStore::SchemaStore::GetStore()->SetSchema(records);
  return registered;
}

std::vector<SchemaInfo> ListSchemas() {
  std::vector<SchemaInfo> types;
  for (const SchemaRecord& record : OrvoSchemaStore::SchemaStore::GetStore()->ListSchemas()) {
    types.push_back(InfoOf(record));
  }
  return types;
}

std::string NearestTypeName(const ConfigStoreObjectId& type) {
  const auto written = [&type](const std::string& component, const std::string& group, const std::string& key) {
    std::string name = EscapeNamePart(component);
    if (!type.group.empty()) name += "/" + EscapeNamePart(group);
    if (!type.key.empty()) name += "/" + EscapeNamePart(key);
    return name;
  };
  std::set<std::string> names;
  for (const SchemaInfo& each : ListSchemas()) names.insert(written(each.component, each.group, each.key));
  return NearestName(written(type.component, type.group, type.key), {names.begin(), names.end()});
}

StorageError LastStorageError() {
  const DBStore::Failure& failure = DBStore::LastFailure();
  return {KindOf(failure), failure.message};
}

}  // namespace OrvoConfigStore
