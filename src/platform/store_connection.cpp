#include "platform/store_connection.h"

#include <new>
#include <utility>

#include "platform/db_failure.h"
#include "platform/host_paths.h"
#include "platform/process_identity.h"

namespace DBStore {

StoreConnection::StoreConnection(Type type)
    : path_(type == TYPE_STORE ? HaldenLib::kStoreFile : HaldenLib::kSchemaStoreFile),
      isPrivate_(false),
      hasLog_(type == TYPE_STORE),
      owner_(HaldenLib::ProcessId()) {}

StoreConnection::StoreConnection(Database copy)
    : path_(HaldenLib::kStoreFile),
      isPrivate_(true),
      hasLog_(false),
      database_(std::move(copy)),
      owner_(HaldenLib::ProcessId()) {}

StoreConnection::~StoreConnection() {
  AbandonInChild();
  Close();
}

bool StoreConnection::Open(WhenMissing whenMissing) {
  if (isPrivate_) return Fail(SQLITE_MISUSE, "a private copy belongs to the process that made it") == 0;
  database_ = OpenDatabase(path_, Access::ReadWrite, whenMissing, &file_);
  if (database_ == nullptr) return false;
  WatchLog(database_.get(), &log_);
  sqlite3_set_authorizer(database_.get(), NoteAction, this);
  WaitWhileBusy(database_.get(), &busy_);
  SetBusyTimeout(kBusyTimeout);
  isLogEnsured_ = false;
  isIndexSought_ = false;
  statementsRun_ = 0;
  hasLargeRoom_ = false;
  ++handles_;
  return true;
}

void StoreConnection::Close() {
  if (database_ == nullptr) return;
  ForgetState();
  statements_.Clear();
  look_.reset();
  watch_.reset();
  notMoved_ = {};
  hasWritten_ = false;
  // What lies at the path by now is another file, whose log must be left alone.
  if (MayHaveMoved()) sqlite3_db_config(database_.get(), SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
  database_.reset();
}

void StoreConnection::AbandonInChild() {
  if (owner_ == HaldenLib::ProcessId()) return;
  // Deliberate: a leak. Closing would undo the parent's work with the parent's memory.
  ForgetState();
  statements_.Abandon();
  static_cast<void>(look_.release());
  static_cast<void>(database_.release());
  owner_ = HaldenLib::ProcessId();
  running_ = 0;
}

bool StoreConnection::EnsureOwnHandle() {
  AbandonInChild();
  return database_ != nullptr || Open(WhenMissing::Report);
}

bool StoreConnection::HasMoved() const {
  if (isPrivate_) return false;
  FileIdentity now;
  return IdentifyFile(path_, &now) != SQLITE_OK || !(now == file_);
}

/// As HasMoved, for a connection that writes again and again: while its file stays
/// as it is, which it does between two checkpoints, the path is not walked each time.
bool StoreConnection::HasMovedBeforeWrite() {
  if (isPrivate_ || !std::exchange(hasWritten_, true)) return HasMoved();
  if (!watch_.has_value()) watch_.emplace(path_.c_str());
  const HaldenLib::FileState now = watch_->Look();
  if (now.Exists() && now == notMoved_) return false;
  if (HasMoved()) return true;
  notMoved_ = now;
  return false;
}

/// As HasMoved, for where nothing may be thrown: without the memory to look, it may have.
bool StoreConnection::MayHaveMoved() const noexcept {
  try {
    return HasMoved();
  } catch (const std::bad_alloc&) {
    return true;
  }
}

/// Leaves a file that is no longer the one at the path, unless work on it is under
/// way; returns whether it has.
bool StoreConnection::LeaveMovedFile() {
  if (database_ == nullptr || running_ > 0 || Levels() > 0 || !HasMoved()) return false;
  Close();
  return true;
}

bool StoreConnection::FollowPath() {
  AbandonInChild();
  LeaveMovedFile();
  return database_ != nullptr || Open(WhenMissing::Record);
}

void StoreConnection::SetBusyTimeout(int timeoutMs) {
  busy_.timeoutMs = timeoutMs;
}

/// What precedes every write transaction, also that of a single statement. Lets go
/// of the statement where it replaces the handle or changes the journal's mode.
bool StoreConnection::PrepareToWrite(int timeoutMs, std::optional<StatementUse>* use) {
  const bool isReading = running_ > 0;  // a row callback writes
  const bool mayNowWrite = !isReading && sqlite3_db_readonly(database_.get(), "main") == 1;
  if (mayNowWrite || HasMovedBeforeWrite()) {
    if (isReading) return Fail(SQLITE_READONLY_DBMOVED, "the file was replaced while it is read") == 0;
    use->reset();
    Close();
    if (!Open(WhenMissing::Report)) return false;
  }
  if (!hasLog_ || isReading) return true;
  SetBusyTimeout(0);
  if (!isLogEnsured_) {
    use->reset();
    EnsureWriteAheadLog(database_.get(), path_);
    isIndexSought_ = false;
  }
  isLogEnsured_ = true;
  WalHead head;
  const bool isShort = ReadHead(&head) && head.LogBytes() <= kMostLogBytes;
  const bool mayWrite = isShort || MakeRoomInLog(database_.get(), path_, timeoutMs);
  SetBusyTimeout(timeoutMs);
  if (!mayWrite) Fail(SQLITE_BUSY, "the write-ahead log is over its bound and held by a reader");
  return mayWrite;
}

int StoreConnection::Fail(int code, const std::string& words, std::string_view statement) const {
  return ReportFailure(code, words, path_, statement);
}

}  // namespace DBStore
