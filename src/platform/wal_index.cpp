#include "platform/wal_index.h"

#include <cstring>
#include <string>

#include "platform/query_rows.h"

namespace DBStore {

namespace {

constexpr uint32_t kVersion = 3007000;  // of the index, since there is one
constexpr int kFirstPart = 32768;       // in which SQLite maps it
constexpr int64_t kFrameHeader = 24;

bool HasLog(sqlite3* database) {
  bool hasLog = false;
  const int code = QueryRows(database, "PRAGMA journal_mode;", [&hasLog](int, const char* const* texts) {
    hasLog = texts[0] != nullptr && std::strcmp(texts[0], "wal") == 0;
  });
  return code == SQLITE_OK && hasLog;
}

/// The parts of a word that the index has in the order of the processor.
struct PageWord {
  uint8_t isReady;
  uint8_t byteOrder;
  uint16_t pageSize;
};

PageWord PageOf(const WalHead& head) {
  PageWord page;
  std::memcpy(&page, &head.words[3], sizeof page);
  return page;
}

}  // namespace

int64_t WalHead::LogBytes() const {
  const uint16_t size = PageOf(*this).pageSize;
  const int64_t pageSize = size == 1 ? 65536 : size;
  return int64_t{LogPages()} * (pageSize + kFrameHeader);
}

bool WalIndex::Find(sqlite3* database) {
  head_ = nullptr;
  if (!HasLog(database)) return true;
  sqlite3_file* file = nullptr;
  sqlite3_file_control(database, "main", SQLITE_FCNTL_FILE_POINTER, &file);
  if (file == nullptr || file->pMethods == nullptr || file->pMethods->iVersion < 2) return true;
  volatile void* part = nullptr;
  constexpr int kAsItIs = 0;  // nothing is made longer
  if (file->pMethods->xShmMap(file, 0, kFirstPart, kAsItIs, &part) != SQLITE_OK) return true;
  head_ = static_cast<const uint32_t*>(const_cast<const void*>(part));
  return head_ != nullptr;
}

bool WalIndex::Read(WalHead* head) const {
  if (head_ == nullptr) return false;
  for (size_t i = 0; i < head->words.size(); ++i) head->words[i] = __atomic_load_n(head_ + i, __ATOMIC_ACQUIRE);
  return head->words[0] == kVersion && PageOf(*head).isReady != 0;
}

}  // namespace DBStore
