#include "platform/schema_store.h"

#include <algorithm>
#include <chrono>
#include <unordered_map>
#include <utility>

#include "platform/db_store.h"
#include "platform/file_watch.h"
#include "platform/host_paths.h"
#include "platform/per_thread.h"
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
  // Forgets everything unless the file is surely as it was; false when there is none.
  bool Refresh() {
    const HaldenLib::FileState& now = file_.Look();
    if (!settled_ || now != state_) {
      types_.clear();
      last_ = nullptr;
      state_ = now;
      settled_ = now.IsSettled();
    }
    return now.Exists();
  }

  // Returns the schema of a type, or null. Most look-ups are for the type of the one before.
  const std::shared_ptr<SchemaObject>* Find(const std::string& component, const std::string& group,
                                            const std::string& key) {
    if (last_ != nullptr && last_->IsOf(component, group, key)) return &last_->schema;
    const auto found = types_.find(JoinedName(component, group, key));
    if (found == types_.end()) return nullptr;
    last_ = &found->second;
    return &last_->schema;
  }

  void Keep(const SchemaRecord& type, const std::shared_ptr<SchemaObject>& schema) {
    const std::string name = JoinedName(type.component, type.group, type.key);
    types_[name] = {type.component, type.group, type.key, schema};
  }

 private:
  struct Type {
    std::string component;
    std::string group;
    std::string key;
    std::shared_ptr<SchemaObject> schema;

    bool IsOf(const std::string& inComponent, const std::string& inGroup, const std::string& named) const {
      return key == named && group == inGroup && component == inComponent;
    }
  };

  // A part cannot hold NUL, so the name is one type's alone.
  static std::string JoinedName(const std::string& component, const std::string& group, const std::string& key) {
    return std::string(component).append(1, '\0').append(group).append(1, '\0').append(key);
  }

  // Schemas are installed at leisure: a moved directory may show later than where data is written.
  static constexpr std::chrono::milliseconds kWalkAfter{1};

  HaldenLib::FileWatch file_{HaldenLib::kSchemaStoreFile, kWalkAfter};
  HaldenLib::FileState state_;
  bool settled_ = false;
  std::unordered_map<std::string, Type> types_;
  const Type* last_ = nullptr;
};

SchemaStore::SchemaStore() : cache_(std::make_unique<Cache>()) {}
SchemaStore::~SchemaStore() = default;

std::shared_ptr<SchemaStore> SchemaStore::GetStore() {
  std::shared_ptr<SchemaStore>& store = HaldenLib::PerThread<std::shared_ptr<SchemaStore>>::Get();
  if (store == nullptr) store = std::make_shared<SchemaStore>();
  return store;
}

std::shared_ptr<SchemaObject> SchemaStore::GetSchema(const std::string& component, const std::string& group,
                                                     const std::string& key) {
  if (!cache_->Refresh()) return nullptr;
  if (const std::shared_ptr<SchemaObject>* kept = cache_->Find(component, group, key)) return *kept;
  const std::vector<SchemaRecord> records =
      ReadRecords(FormatSql(" WHERE Component='%s' and ConfigGroup='%s' and Name='%s';", {component, group, key}));
  if (records.empty()) return nullptr;
  auto schema = std::make_shared<SchemaObject>(records.front());
  cache_->Keep(records.front(), schema);
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
