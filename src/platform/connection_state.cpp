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

/// Whether a connection that is set so finds the index elsewhere, or none.
bool MovesIndex(const char* pragma, const char* value) {
  const auto is = [pragma](const char* name) { return sqlite3_stricmp(pragma, name) == 0; };
  return value != nullptr && (is("journal_mode") || is("locking_mode"));
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

/// From here on the index is unknown.
void StoreConnection::LeaveIndex() {
  ForgetState();
  isIndexSought_ = true;
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

/// Told by SQLite of all that a statement does when it is prepared, what triggers do
/// included.
int StoreConnection::NoteAction(void* connection, int action, const char* subject, const char* detail, const char*,
                                const char*) {
  auto& self = *static_cast<StoreConnection*>(connection);
  const bool isRead =
      action == SQLITE_SELECT || action == SQLITE_READ || action == SQLITE_FUNCTION || action == SQLITE_RECURSIVE;
  const bool writesRows = action == SQLITE_INSERT || action == SQLITE_UPDATE || action == SQLITE_DELETE;
  const bool writesObjects = writesRows && subject != nullptr && std::strcmp(subject, kConfigTable) == 0;
  if (!isRead && !writesObjects) self.effects_.writesKeys = true;
  if (action == SQLITE_PRAGMA && MovesIndex(subject, detail)) {
    self.effects_.movesIndex = true;
    self.LeaveIndex();  // some pragmas take effect when they are prepared
  }
  return SQLITE_OK;
}

/// To be called after a statement that was a transaction of its own.
void StoreConnection::FollowCommit(const StatementUse& use) noexcept {
  if (log_.pages == 0) return;  // nothing was committed
  StatementCache::Entry* const kept = use.Kept();
  if (kept != nullptr && effects_.writesKeys) kept->effects.writesKeys = true;  // prepared anew, to another effect
  WalHead head;
  if (kept == nullptr || kept->effects.writesKeys || !index_.Read(&head)) return keptKey_.Forget();
  keptKey_.Follow(head, StateBeingRead(), log_.pages);
}

}  // namespace DBStore
