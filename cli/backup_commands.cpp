#include <configstore/errors.h>
#include <configstore/host.h>
#include <configstore/lifecycle.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "command.h"
#include "failure.h"
#include "host_log.h"
#include "json_text.h"

namespace csctl {

namespace fs = std::filesystem;

using OrvoConfigStore::ResolveHostPath;
using OrvoConfigStore::StorageError;

namespace {

// Making a backup, such that at every moment the old one or the new one is there:
//
//   1. The store is copied to a temporary name beside the backup.
//   2. With --verify the copy is checked.
//   3. It is brought to the disk.
//   4. The old backup is settled, and the new one renamed.
//   5. The directory is brought to the disk.

/// The temporary file; it is gone afterwards, unless it was renamed.
class TemporaryFile {
 public:
  explicit TemporaryFile(const std::string& beside) : path_(beside + ".new-" + std::to_string(getpid())) {}
  ~TemporaryFile() { unlink(ResolveHostPath(path_).c_str()); }
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;
  const std::string& Path() const { return path_; }

 private:
  std::string path_;
};

[[noreturn]] void FailFile(int error, const std::string& path, const char* next) {
  const bool isDenied = error == EACCES || error == EPERM || error == EROFS;
  throw CommandFailed({isDenied ? Exit::kRefused : Exit::kStorage, std::strerror(error), path, next});
}

constexpr char kOldBackupStays[] = "the backup that was there is unchanged; mend this and try again";

void Sync(const std::string& path) {
  const int file = open(ResolveHostPath(path).c_str(), O_RDONLY | O_CLOEXEC);
  int error = file >= 0 && fsync(file) == 0 ? 0 : errno;
  if (file >= 0) close(file);
  if (error != 0) FailFile(error, path, kOldBackupStays);
}

/// Fails with what the library's copying ended with.
[[noreturn]] void FailCopy(const std::string& path) {
  const StorageError error = OrvoConfigStore::LastStorageError();
  Failure failure = ExplainStorage(error);
  failure.message = "the copy failed: " + failure.message;
  failure.where = path;
  if (error.kind == StorageError::NONE) failure.next = "the system log says why";
  throw CommandFailed(failure);
}

std::string DirectoryOf(const std::string& path) {
  const std::string directory = fs::path(path).parent_path().string();
  return directory.empty() ? "." : directory;
}

bool IsSameFile(const std::string& a, const std::string& b) {
  std::error_code error;
  return fs::equivalent(ResolveHostPath(a), ResolveHostPath(b), error);
}

bool IsAddress(const std::string& path) {
  return path.compare(0, 5, "file:") == 0;
}
constexpr char kIsAddress[] = "this is an address, not the path of a file";
constexpr char kIsStore[] = "this is the store itself";

/// Refuses a destination that no backup can be made at.
void CheckDestination(const std::string& path) {
  std::error_code error;
  const char* problem = nullptr;
  if (fs::is_directory(ResolveHostPath(path), error)) problem = "this is a directory";
  if (!fs::is_directory(ResolveHostPath(DirectoryOf(path)), error)) problem = "its directory does not exist";
  if (IsSameFile(path, OrvoConfigStore::GetStorePath())) problem = kIsStore;
  if (IsAddress(path)) problem = kIsAddress;
  if (problem == nullptr) return;
  throw CommandFailed({Exit::kUsage, problem, path, "name a file in an existing directory, as the host sees it"});
}

/// Creates the directory of the backup that belongs to the store.
void MakeBackupDirectory() {
  const std::string directory = DirectoryOf(OrvoConfigStore::GetBackupPath());
  std::error_code error;
  const mode_t before = umask(077);  // what lies there is the store over again
  fs::create_directories(ResolveHostPath(directory), error);
  umask(before);
  if (error) FailFile(error.value(), directory, "run as a user who may create it");
}

/// Leaves nothing beside the old backup, which would be played into the new one.
/// What it holds for the old one is settled first: that may stay the only backup.
void SettleOld(const std::string& path) {
  std::error_code error;
  if (fs::exists(ResolveHostPath(path), error)) OrvoConfigStore::IsConsistentStore(path);
  for (const char* suffix : {"-journal", "-wal", "-shm"}) fs::remove(ResolveHostPath(path + suffix), error);
}

void BackUpStore(const std::string& destination, bool verify) {
  const TemporaryFile copy(destination);
  if (OrvoConfigStore::backup(OrvoConfigStore::GetStorePath(), copy.Path()) != 0) FailCopy(destination);
  if (verify && !OrvoConfigStore::IsConsistentStore(copy.Path())) {
    throw CommandFailed({Exit::kStorage, "the copy is not a consistent store", destination, kOldBackupStays});
  }
  Sync(copy.Path());
  const std::string from = ResolveHostPath(copy.Path()), to = ResolveHostPath(destination);
  SettleOld(destination);
  if (rename(from.c_str(), to.c_str()) != 0) FailFile(errno, destination, kOldBackupStays);
  Sync(DirectoryOf(destination));
}

// --- backup ------------------------------------------------------------------

struct BackupOptions {
  std::string destination;
  std::string file;
  bool verify = false;
};

Exit BackUpFile(Session& session, const BackupOptions& options) {
  session.where = options.file;
  OpenStore();
  std::error_code error;
  if (!fs::exists(ResolveHostPath(options.file), error)) {
    throw CommandFailed({Exit::kUsage, "there is no such file", "", "name a file below /etc/halden"});
  }
  OrvoConfigStore::BackUpHostFile(options.file);
  session.PrintResult("backed up " + Printable(options.file), JsonObject({{"backup", JsonString(options.file)}}));
  return Exit::kDone;
}

Exit BackUp(Session& session, const BackupOptions& options) {
  if (!options.file.empty()) return BackUpFile(session, options);
  const HostLog log;
  const bool isOwn = options.destination.empty();
  const std::string destination = isOwn ? OrvoConfigStore::GetBackupPath() : options.destination;
  OpenStore();
  if (isOwn) MakeBackupDirectory();
  CheckDestination(destination);
  BackUpStore(destination, options.verify);
  session.PrintResult("backed up to " + Printable(destination) + (options.verify ? ", consistent" : ""),
                      JsonObject({{"backup", JsonString(destination)}, {"verified", JsonBool(options.verify)}}));
  return Exit::kDone;
}

Run SetUpBackup(Arguments& arguments) {
  auto options = std::make_shared<BackupOptions>();
  const Argument destination =
      arguments.Option("DEST", options->destination, "The host's file; without it, the one that a boot load restores");
  const Argument verify =
      arguments.Flag("--verify", options->verify, "Check the copy before it takes the old backup's place");
  arguments
      .Option("--file", options->file,
              "Back up this file of the host instead, below /etc/halden; it comes back with the store")
      .Excludes(destination)
      .Excludes(verify);
  return [options](Session& session) { return BackUp(session, *options); };
}

// --- restore -----------------------------------------------------------------

/// Refuses a file that cannot take the store's place.
void CheckSource(const std::string& file) {
  std::error_code error;
  const char* problem = nullptr;
  if (!fs::is_regular_file(ResolveHostPath(file), error)) problem = "there is no such file";
  if (IsSameFile(file, OrvoConfigStore::GetStorePath())) problem = kIsStore;
  if (IsAddress(file)) problem = kIsAddress;
  if (problem != nullptr) {
    throw CommandFailed({Exit::kUsage, problem, file, "name a backup, a file as the host sees it"});
  }
  if (access(ResolveHostPath(file).c_str(), R_OK) != 0) FailFile(errno, file, "run as a user who may read it");
  if (OrvoConfigStore::IsConsistentStore(file)) return;
  Failure failure{Exit::kInvalid, "this is not a consistent store", file, "name another backup; nothing was changed"};
  failure.detail = OrvoConfigStore::LastStorageError().message;
  throw CommandFailed(failure);
}

/// Fails with what keeps the store from being written now: the copying says only
/// that it failed.
[[noreturn]] void FailRestore(const std::string& path) {
  const auto store = OpenStore();
  if (store->BeginTransaction() != 0) throw CommandFailed(ExplainStorage(OrvoConfigStore::LastStorageError()));
  store->CancelTransaction();
  FailCopy(path);
}

Exit Restore(Session& session, const std::string& file) {
  session.where = file;
  const HostLog log;
  CheckSource(file);
  const std::string store = OrvoConfigStore::GetStorePath();
  std::error_code error;
  if (!fs::exists(ResolveHostPath(store), error)) OrvoConfigStore::CreateDatabases();
  // Through the database, page by page: programs that have the store open see it change.
  if (OrvoConfigStore::backup(file, store) != 0) FailRestore(store);
  session.PrintResult("restored from " + Printable(file) + "; \"csctl status\" shows what is pending in it",
                      JsonObject({{"restored", JsonString(file)}}));
  return Exit::kDone;
}

Run SetUpRestore(Arguments& arguments) {
  auto file = std::make_shared<std::string>();
  arguments.Option("FILE", *file, "The backup, a file of the host; an inconsistent one is refused").Required();
  return [file](Session& session) { return Restore(session, *file); };
}

}  // namespace

const std::vector<Command>& BackupCommands() {
  static const std::vector<Command> commands = {
      {"backup", "Copy the store to a backup, while it is in use", SetUpBackup},
      {"restore", "Put a backup in place of all that is stored", SetUpRestore, true},
  };
  return commands;
}

}  // namespace csctl
