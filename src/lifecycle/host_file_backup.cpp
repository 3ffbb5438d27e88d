#include "lifecycle/host_file_backup.h"

#include <algorithm>
#include <string>
#include <system_error>

#include "api/boot_state.h"
#include "configstore/errors.h"
#include "configstore/lifecycle.h"
#include "configstore/logging.h"
#include "platform/host_files.h"
#include "platform/host_paths.h"
#include "platform/json_reader.h"
#include "platform/json_values.h"
#include "store/connection.h"
#include "store/statements.h"

namespace OrvoConfigStore {
namespace {

using Connection = std::shared_ptr<DBStore::StoreConnection>;

const std::string kOriginals = HaldenLib::kConfigurationDirectory;
const std::string kCopies = HaldenLib::kBackupDirectory + kOriginals;

bool IsBelow(const std::string& path, const std::string& directory) {
  return path.compare(0, directory.size() + 1, directory + "/") == 0;
}

// Returns the path below /etc/halden, empty for a file that is not backed up.
std::string NameOf(const std::string& path) {
  const bool isOurs = IsBelow(path, HaldenLib::kStoreDirectory) || IsBelow(path, HaldenLib::kSchemaStoreDirectory);
  return isOurs || !IsBelow(path, kOriginals) ? "" : path.substr(kOriginals.size() + 1);
}

std::string ReasonOf(int error) {
  return std::generic_category().message(error);
}

void LogSkipped(const std::string& path, const std::string& reason) {
  CSLogger::Log(CSLogger::LOG_PRIORITY_ERROR, "Backed up file %s is not restored: %s", path.c_str(), reason.c_str());
}

void Restore(const JsonValue& entry) {
  const std::string path = entry.IsString() ? std::string(TextOf(entry)) : std::string();
  const std::string name = NameOf(path);
  const int result = name.empty() ? EINVAL : HaldenLib::CopyBelow(kCopies, kOriginals, name);
  if (result != 0) LogSkipped(path, ReasonOf(result));
}

// Reads the list; a text that is none, logged, is an empty one.
void ReadList(const Connection& connection, JsonStorage& list) {
  const std::string text = GetKVInternal(kBackupFilesKey, connection);
  if (text.empty()) {
    list.document.SetArray();
  } else if (!ReadJson(text, list.document, nullptr) || !list.document.IsArray()) {
    CSLogger::Log(CSLogger::LOG_PRIORITY_ERROR, "%s is no list of files", kBackupFilesKey);
    list.document.SetArray();
  }
}

// Puts the path on the list; false when that cannot be stored.
bool Enlist(const std::string& path, const Connection& connection) {
  JsonStorage list;
  ReadList(connection, list);
  const auto entries = list.document.GetArray();
  const bool isListed = std::any_of(entries.begin(), entries.end(),
                                    [&](const JsonValue& entry) { return entry.IsString() && TextOf(entry) == path; });
  if (!isListed) list.document.PushBack(TextValue(path, list.allocator), list.allocator);
  std::string text;
  return WriteJson(list.document, text) && SetKVInternal(kBackupFilesKey, text, connection) == 0;
}

}  // namespace

void RestoreHostFiles() {
  JsonStorage list;
  ReadList(GetConn(), list);
  for (const JsonValue& entry : list.document.GetArray()) Restore(entry);
}

void BackUpHostFile(const std::string& path) {
  const std::string name = NameOf(path);
  if (name.empty()) throw InvalidArgumentException(CS_GENERAL, ("Not a file to back up: " + path).c_str());
  int result = HaldenLib::MakeDirectories(kCopies);
  if (result == 0) result = HaldenLib::CopyBelow(kOriginals, kCopies, name);
  if (result != 0) {
    throw ConfigStoreException(CS_GENERAL, ("Cannot back up " + path + ": " + ReasonOf(result)).c_str());
  }
  const Connection connection = GetConn();
  const bool isListed = DBStore::BeginTransaction(connection) == 0 && Enlist(path, connection) &&
                        DBStore::CommitTransaction(connection) == 0;
  if (isListed) return;
  DBStore::CancelTransaction(connection);
  throw ConfigStoreException(CS_GENERAL, ("Cannot list the backed up file " + path).c_str());
}

}  // namespace OrvoConfigStore
