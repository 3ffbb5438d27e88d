#include "faults/fault_disk.h"

#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <utility>

/// A file of the disk: what SQLite holds, with the real file behind it.
struct FaultDisk::File {
  sqlite3_file base;
  Record* record;
  sqlite3_file* Real() { return reinterpret_cast<sqlite3_file*>(this + 1); }
};

/// The functions that SQLite calls.
struct FaultDisk::Calls {
  static File* Of(sqlite3_file* file) { return reinterpret_cast<File*>(file); }
  static sqlite3_file* Real(sqlite3_file* file) { return Of(file)->Real(); }
  static const sqlite3_io_methods* Methods(sqlite3_file* file) { return Real(file)->pMethods; }
  static int Strike(int ioError, bool takesSpace) { return Instance().Strike(ioError, takesSpace); }
  static void Note(sqlite3_file* file, Change change) {
    if (Of(file)->record != nullptr) Of(file)->record->pending.push_back(std::move(change));
  }

  /// Calls the method of the real file, unless the error strikes first.
  template <auto kMethod, int kIoError = SQLITE_OK, class... Given>
  static int Pass(sqlite3_file* file, Given... given) {
    const int code = kIoError == SQLITE_OK ? SQLITE_OK : Strike(kIoError, false);
    return code != SQLITE_OK ? code : (Methods(file)->*kMethod)(Real(file), given...);
  }

  static int Write(sqlite3_file* file, const void* data, int size, sqlite3_int64 at) {
    const int code = Strike(SQLITE_IOERR_WRITE, true);
    if (code != SQLITE_OK) return code;
    if (Of(file)->record != nullptr) {  // else no memory is asked for
      Note(file, {Change::WRITE, at, std::string(static_cast<const char*>(data), static_cast<size_t>(size))});
    }
    return Methods(file)->xWrite(Real(file), data, size, at);
  }
  static int Truncate(sqlite3_file* file, sqlite3_int64 size) {
    const int code = Strike(SQLITE_IOERR_TRUNCATE, false);
    if (code != SQLITE_OK) return code;
    Note(file, {Change::TRUNCATE, size, {}});
    return Methods(file)->xTruncate(Real(file), size);
  }
  static int Sync(sqlite3_file* file, int flags) {
    const int code = Strike(SQLITE_IOERR_FSYNC, false);
    if (code != SQLITE_OK) return code;
    Record* const record = Of(file)->record;
    if (record == nullptr) return Methods(file)->xSync(Real(file), flags);
    for (const Change& change : record->pending) Apply(change, &record->synced);
    record->pending.clear();
    return SQLITE_OK;  // what survives is decided here, and the real disk not waited for
  }
  static int ShmMap(sqlite3_file* file, int region, int size, int extend, void volatile** memory) {
    const int code = Strike(SQLITE_IOERR_SHMMAP, extend != 0);
    return code != SQLITE_OK ? code : Methods(file)->xShmMap(Real(file), region, size, extend, memory);
  }
  static void ShmBarrier(sqlite3_file* file) { Methods(file)->xShmBarrier(Real(file)); }

  static int Open(sqlite3_vfs*, const char* path, sqlite3_file* file, int flags, int* outFlags) {
    using M = sqlite3_io_methods;
    static const M methods = {2,
                              Pass<&M::xClose>,
                              Pass<&M::xRead, SQLITE_IOERR_READ>,
                              Write,
                              Truncate,
                              Sync,
                              Pass<&M::xFileSize, SQLITE_IOERR_FSTAT>,
                              Pass<&M::xLock>,
                              Pass<&M::xUnlock>,
                              Pass<&M::xCheckReservedLock>,
                              Pass<&M::xFileControl>,
                              Pass<&M::xSectorSize>,
                              Pass<&M::xDeviceCharacteristics>,
                              ShmMap,
                              Pass<&M::xShmLock>,
                              ShmBarrier,
                              Pass<&M::xShmUnmap>,
                              nullptr,
                              nullptr};
    FaultDisk& disk = Instance();
    const bool isNew = path != nullptr && (flags & SQLITE_OPEN_CREATE) != 0 && access(path, F_OK) != 0;
    Of(file)->base.pMethods = nullptr;
    const int struck = Strike(SQLITE_CANTOPEN, isNew);
    if (struck != SQLITE_OK) return struck;
    Of(file)->record = disk.Find(path);
    const int code = disk.real_->xOpen(disk.real_, path, Real(file), flags, outFlags);
    if (code == SQLITE_OK && isNew) Note(file, {Change::CREATE, 0, {}});
    if (Methods(file) != nullptr) Of(file)->base.pMethods = &methods;
    return code;
  }
  static int Delete(sqlite3_vfs*, const char* path, int syncDirectory) {
    const int code = Strike(SQLITE_IOERR_DELETE, false);
    if (code != SQLITE_OK) return code;
    if (Record* const record = Instance().Find(path)) {
      record->pending.push_back({Change::REMOVE, 0, {}});
      if (syncDirectory != 0) *record = {};
    }
    return Instance().real_->xDelete(Instance().real_, path, syncDirectory);
  }
  static int Access(sqlite3_vfs*, const char* path, int flags, int* result) {
    const int code = Strike(SQLITE_IOERR_ACCESS, false);
    return code != SQLITE_OK ? code : Instance().real_->xAccess(Instance().real_, path, flags, result);
  }
};

FaultDisk& FaultDisk::Instance() {
  static FaultDisk disk;
  return disk;
}

FaultDisk::FaultDisk() : real_(sqlite3_vfs_find(nullptr)), vfs_(*real_) {
  vfs_.szOsFile += static_cast<int>(sizeof(File));
  vfs_.zName = "faults";
  vfs_.xOpen = Calls::Open;
  vfs_.xDelete = Calls::Delete;
  vfs_.xAccess = Calls::Access;
  sqlite3_vfs_register(&vfs_, 1);
}

int FaultDisk::Strike(int ioError, bool takesSpace) {
  if (!isFailing_ || (kind_ == FULL && !takesSpace)) return SQLITE_OK;
  ++count_;
  if (count_ != at_ && !(forGood_ && count_ > at_)) return SQLITE_OK;
  hasStruck_ = true;
  return kind_ == FULL ? SQLITE_FULL : ioError;
}

void FaultDisk::FailAt(long at, Kind kind, bool forGood) {
  at_ = at;
  kind_ = kind;
  forGood_ = forGood;
  count_ = 0;
  hasStruck_ = false;
  isFailing_ = true;
}

bool FaultDisk::Heal() {
  isFailing_ = false;
  return hasStruck_;
}

void FaultDisk::StartRecord() {
  records_.clear();
  isRecording_ = true;
}

/// A file that is met for the first time is on the disk as it is.
FaultDisk::Record* FaultDisk::Find(const char* path) {
  if (!isRecording_ || path == nullptr) return nullptr;
  const auto [found, isNew] = records_.try_emplace(path);
  if (isNew && access(path, F_OK) == 0) {
    std::string content(std::filesystem::file_size(path), '\0');
    std::ifstream(path, std::ios::binary).read(content.data(), static_cast<std::streamsize>(content.size()));
    found->second.synced = std::move(content);
  }
  return &found->second;
}

void FaultDisk::Apply(const Change& change, std::optional<std::string>* content) {
  const auto at = static_cast<size_t>(change.at);
  if (change.kind == Change::CREATE) *content = "";
  if (change.kind == Change::REMOVE) content->reset();
  if (!content->has_value()) return;
  if (change.kind == Change::TRUNCATE) (*content)->resize(at);
  if (change.kind == Change::WRITE) {
    if ((*content)->size() < at + change.bytes.size()) (*content)->resize(at + change.bytes.size());
    (*content)->replace(at, change.bytes.size(), change.bytes);
  }
}

std::optional<std::string> FaultDisk::Remains(const Record& record, std::mt19937& random) {
  constexpr size_t kSector = 512;
  const unsigned chances[] = {0, 50, 100, static_cast<unsigned>(random() % 101)};
  const unsigned chance = chances[random() % 4];
  const auto survives = [&] { return random() % 100 < chance; };
  std::optional<std::string> content = record.synced;
  for (const Change& change : record.pending) {
    if (change.kind == Change::CREATE || change.kind == Change::REMOVE) {
      if (random() % 2 == 0) break;  // later names did not make it, nor what went to the file of that name
      Apply(change, &content);
    } else if (change.kind == Change::TRUNCATE) {
      if (survives()) Apply(change, &content);
    } else {
      for (size_t from = 0; from < change.bytes.size();) {
        const size_t sectorEnd = kSector - (static_cast<size_t>(change.at) + from) % kSector;
        if (survives()) {
          Apply({Change::WRITE, change.at + static_cast<sqlite3_int64>(from), change.bytes.substr(from, sectorEnd)},
                &content);
        }
        from += sectorEnd;
      }
    }
  }
  return content;
}

void FaultDisk::LosePower(std::mt19937& random) {
  isRecording_ = false;
  for (const auto& [path, record] : records_) {
    const std::optional<std::string> content = Remains(record, random);
    std::remove(path.c_str());
    std::remove((path + "-shm").c_str());
    if (content) std::ofstream(path, std::ios::binary) << *content;
  }
  records_.clear();
}
