#include "platform/schema_store.h"

#include <sys/stat.h>

#include <algorithm>
#include <ctime>
#include <unordered_map>
#include <utility>

#include "platform/db_store.h"
#include "platform/host_paths.h"
#include "platform/sql_format.h"

namespace OrvoSchemaStore {
namespace {

using OrvoConfigStore::FormatSql;
using OrvoConfigStore::ThrowPlatformFailure;
using Connection = std::shared_ptr<DBStore::StoreConnection>;

constexpr char kColumns[] = "SELECT PakId, Component, ConfigGroup, Name, Version, NoRestore, Value FROM ConfigSchema";
constexpr char kInsert[] =
    "INSERT OR REPLACE INTO ConfigSchema(PakId, Component, ConfigGroup, Name, Value, Version, Success, NoRestore) "
    "VALUES (?, ?, ?, ?, ?, ?, 1, ?);";
constexpr char kDeletePackage[] = "DELETE FROM ConfigSchema WHERE PakId=?;";

constexpr long kNanosecondsPerSecond = 1000000000;
// A file may be written twice within the grain of its time stamp; a younger
// state is not relied on.
constexpr long kSettled = 20000000;

// What tells one state of the schema store's file from another.
struct FileState {
  dev_t device = 0;
  ino_t inode = 0;
  off_t size = -1;  // -1: there is no file
  timespec modified{};

  bool operator==(const FileState& other) const {
    return device == other.device && inode == other.inode && size == other.size &&
           modified.tv_sec == other.modified.tv_sec && modified.tv_nsec == other.modified.tv_nsec;
  }

  // Whether a later change is sure to show in the modification time.
  bool IsSettled() const {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    const long age = (now.tv_sec - modified.tv_sec) * kNanosecondsPerSecond + (now.tv_nsec - modified.tv_nsec);
    return age >= kSettled;
  }
};

// The file is looked at by name: opening and closing it would drop the locks
// that the database holds on it in this process.
FileState LookAtFile() {
  FileState state;
  struct stat status {};
  if (stat(HaldenLib::ResolvePath(HaldenLib::kSchemaStoreFile).c_str(), &status) != 0) return state;
  state.device = status.st_dev;
  state.inode = status.st_ino;
  state.size = status.st_size;
  state.modified = status.st_mtim;
  return state;
}

std::string TextOrEmpty(const char* text) {
  return text == nullptr ? std::string() : std::string(text);
}

int AppendRecord(void* context, int, char** texts, char**) {
  SchemaRecord record{TextOrEmpty(texts[0]), TextOrEmpty(texts[1]), TextOrEmpty(texts[2]),       TextOrEmpty(texts[3]),
                      TextOrEmpty(texts[4]), TextOrEmpty(texts[6]), TextOrEmpty(texts[5]) == "1"};
  static_cast<std::vector<SchemaRecord>*>(context)->push_back(std::move(record));
  return 0;
}

std::vector<SchemaRecord> ReadRecords(const std::string& condition) {
  std::vector<SchemaRecord> records;
  const Connection connection = DBStore::GetConnection(DBStore::TYPE_SCHEMA_STORE);
  if (connection == nullptr ||
      DBStore::ExecuteV2(connection, kColumns + condition, AppendRecord, &records, DBStore::kBusyTimeout) != 0) {
    ThrowPlatformFailure("Failed to read the schema store.");
  }
  return records;
}

// Whether every row of the packages is gone.
bool DeletePackages(const Connection& connection, const std::vector<std::string>& packages) {
  return std::all_of(packages.begin(), packages.end(), [&connection](const std::string& package) {
    return DBStore::Execute(connection, kDeletePackage, {package}, {DBStore::VALUE_TEXT}, DBStore::kBusyTimeout) == 0;
  });
}

// Whether every record was written.
bool WriteRecords(const Connection& connection, const std::vector<SchemaRecord>& records) {
  const std::vector<int> types = {DBStore::VALUE_TEXT, DBStore::VALUE_TEXT, DBStore::VALUE_TEXT,   DBStore::VALUE_TEXT,
                                  DBStore::VALUE_TEXT, DBStore::VALUE_TEXT, DBStore::VALUE_INTEGER};
  for (const SchemaRecord& record : records) {
    const std::vector<std::string> values = {record.package,
                                             record.component,
                                             record.group,
                                             record.key,
                                             record.schema,
                                             record.version,
                                             record.noRestore ? "1" : "0"};
    if (DBStore::Execute(connection, kInsert, values, types, DBStore::kBusyTimeout) != 0) return false;
  }
  return true;
}

}  // namespace

// The parsed schemas of one state of the file.
class SchemaStore::Cache {
 public:
  using TypeName = std::string;

  // Forgets everything unless the file is surely as it was; false when there is none.
  bool Refresh() {
    const FileState now = LookAtFile();
    if (!settled_ || !(now == state_)) {
      schemas_.clear();
      state_ = now;
      settled_ = now.IsSettled();
    }
    return now.size >= 0;
  }

  // Returns the joined name of a type, valid until the next call. A part cannot
  // hold NUL, so it is one type's alone.
  const TypeName& NameOf(const std::string& component, const std::string& group, const std::string& key) {
    name_.assign(component).append(1, '\0').append(group).append(1, '\0').append(key);
    return name_;
  }

  std::shared_ptr<SchemaObject>& operator[](const TypeName& name) { return schemas_[name]; }

  std::shared_ptr<SchemaObject> Find(const TypeName& name) const {
    const auto found = schemas_.find(name);
    return found == schemas_.end() ? nullptr : found->second;
  }

 private:
  FileState state_;
  bool settled_ = false;
  TypeName name_;  // memory that is used again
  std::unordered_map<TypeName, std::shared_ptr<SchemaObject>> schemas_;
};

SchemaStore::SchemaStore() : cache_(std::make_unique<Cache>()) {}
SchemaStore::~SchemaStore() = default;

std::shared_ptr<SchemaStore> SchemaStore::GetStore() {
  thread_local const std::shared_ptr<SchemaStore> store = std::make_shared<SchemaStore>();
  return store;
}

std::shared_ptr<SchemaObject> SchemaStore::GetSchema(const std::string& component, const std::string& group,
                                                     const std::string& key) {
  if (!cache_->Refresh()) return nullptr;
  const std::string& name = cache_->NameOf(component, group, key);
  std::shared_ptr<SchemaObject> schema = cache_->Find(name);
  if (schema != nullptr) return schema;
  const std::vector<SchemaRecord> records =
      ReadRecords(FormatSql(" WHERE Component='%s' and ConfigGroup='%s' and Name='%s';", {component, group, key}));
  if (records.empty()) return nullptr;
  schema = std::make_shared<SchemaObject>(records.front());
  (*cache_)[name] = schema;
  return schema;
}

void SchemaStore::SetSchema(const std::vector<SchemaRecord>& records, const std::vector<std::string>& processed) {
  const Connection connection = DBStore::GetConnection(DBStore::TYPE_SCHEMA_STORE);
  bool written = false;
  if (connection != nullptr && DBStore::BeginTransaction(connection) == 0) {
    written = DeletePackages(connection, processed) && WriteRecords(connection, records) &&
              DBStore::CommitTransaction(connection) == 0;
    if (!written) DBStore::CancelTransaction(connection);
  }
  if (!written) ThrowPlatformFailure("Failed to write the schema store.");
}

std::vector<SchemaRecord> SchemaStore::ListSchemas() {
  if (!cache_->Refresh()) return {};
  return ReadRecords(" ORDER BY Component, ConfigGroup, Name;");
}

}  // namespace OrvoSchemaStore
