// What a connection knows of the state of its database's content: whether that is
// still the one that was read.

#include <cstring>
#include <string>

#include "platform/db_failure.h"
#include "platform/process_identity.h"
#include "platform/store_connection.h"
#include "platform/store_tables.h"

namespace DBStore {

namespace {

const std::string kDataVersion = "PRAGMA data_version;";

int TakeText(void* text, int, char** texts, char**) {
  *static_cast<std::string*>(text) = texts[0];
  return 0;
}

/// Told by SQLite of all that a statement does when it is prepared, what triggers do included.
int NoteAction(void* writesKeys, int action, const char* table, const char*, const char*, const char*) {
  switch (action) {
    case SQLITE_SELECT:
    case SQLITE_READ:
    case SQLITE_FUNCTION:
    case SQLITE_RECURSIVE:
      return SQLITE_OK;
    case SQLITE_INSERT:
    case SQLITE_UPDATE:
    case SQLITE_DELETE:
      if (table != nullptr && std::strcmp(table, kConfigTable) == 0) return SQLITE_OK;
      [[fallthrough]];
    default:
      *static_cast<bool*>(writesKeys) = true;
      return SQLITE_OK;
  }
}

}  // namespace

int StoreConnection::ReadDataState(DataState* state) {
  if (!FollowPath()) return 1;
  const int result = Run({kDataVersion, nullptr, nullptr, TakeText, &state->version});
  state->handle = handles_;
  return result;
}

uint64_t StoreConnection::StateBeingRead() const {
  if (database_ == nullptr || isPrivate_ || IsInTransaction()) return 0;
  constexpr int kVersionBits = 32;
  unsigned version = 0;
  if (sqlite3_file_control(database_.get(), "main", SQLITE_FCNTL_DATA_VERSION, &version) != SQLITE_OK) return 0;
  return (uint64_t{static_cast<unsigned>(handles_)} << kVersionBits) | version;
}

uint64_t StoreConnection::CurrentState() {
  if (!IsAtRest()) return 0;
  WalHead before;
  const bool isKnown = ReadHead(&before);
  if (isKnown && before == looked_) return StateBeingRead();
  SetBusyTimeout(kBusyTimeout);
  if (look_ == nullptr && PrepareStatement(database_.get(), kDataVersion, &look_) != SQLITE_OK) return 0;
  const bool isRead = sqlite3_step(look_.get()) == SQLITE_ROW;
  sqlite3_reset(look_.get());
  if (!isRead) return 0;
  ClearFailure();
  WalHead after;
  if (isKnown && index_.Read(&after) && after == before) looked_ = after;
  return StateBeingRead();
}

/// Whether nothing is under way that sees a state of its own.
bool StoreConnection::IsAtRest() const {
  const bool isOwn = database_ != nullptr && owner_ == HaldenLib::ProcessId();
  return isOwn && running_ == 0 && Levels() == 0;
}

bool StoreConnection::ReadHead(WalHead* head) {
  if (!isIndexSought_ && hasLog_) isIndexSought_ = index_.Find(database_.get());
  return index_.Read(head);
}

void StoreConnection::ForgetState() {
  index_.Forget();
  looked_ = {};
  keptKey_.Forget();
}

bool StoreConnection::RecallKey(const std::string& key, std::string* value, WalHead* before) {
  if (!IsAtRest() || !index_.Read(before) || !keptKey_.Gives(key, *before, value)) return false;
  ClearFailure();
  return true;
}

void StoreConnection::RememberKey(const std::string& key, const std::string& value, const WalHead& before) {
  WalHead after;
  if (IsAtRest() && ReadHead(&after) && after == before) keptKey_.Keep(key, value, after, StateBeingRead());
}

void StoreConnection::WatchKeyWrites() {
  sqlite3_set_authorizer(database_.get(), NoteAction, &writesKeys_);
}

/// To be called after a statement that was a transaction of its own.
void StoreConnection::FollowCommit(const StatementUse& use) noexcept {
  if (log_.pages == 0) return;  // nothing was committed
  StatementCache::Entry* const kept = use.Kept();
  if (kept != nullptr && writesKeys_) kept->writesKeys = true;  // prepared anew, to another effect
  WalHead head;
  if (kept == nullptr || kept->writesKeys || !index_.Read(&head)) return keptKey_.Forget();
  keptKey_.Follow(head, StateBeingRead(), log_.pages);
}

}  // namespace DBStore
