#include "floor.h"

#include <stdexcept>

#include "sample.h"
#include "select_once.h"

namespace bench {

namespace {

// The same columns and forms as the library's statements, with bound values.
constexpr char kSelectAll[] =
    "SELECT Version, Success, UserValue, Identifier, VitalValue, CachedValue, AutoConfValue, CreationTime, "
    "ModifiedTime FROM Config WHERE Name=?1 and ConfigGroup=?2 and Component=?3;";
constexpr char kInsert[] =
    "INSERT OR REPLACE INTO Config(Name, ConfigGroup, Component, Identifier, Version, CreationTime, AutoConfValue, "
    "UserValue, VitalValue, CachedValue) VALUES (?1, ?2, ?3, ?4, ?6, coalesce((SELECT CreationTime FROM Config WHERE "
    "Identifier=?4 and Name=?1 and ConfigGroup=?2 and Component=?3), datetime(CURRENT_TIMESTAMP)), NULL, ?5, NULL, "
    "NULL);";
constexpr char kUpdate[] =
    "UPDATE Config SET UserValue=?5, VitalValue=NULL, CachedValue=NULL, DesiredValue=NULL WHERE Name=?1 and "
    "ConfigGroup=?2 and Component=?3 and Identifier=?4;";
constexpr char kDeleteAll[] = "DELETE FROM Config WHERE Name=?1 and ConfigGroup=?2 and Component=?3;";

}  // namespace

void Floor::Check(bool holds) {
  if (!holds) throw std::runtime_error("the floor's database failed");
}

Floor::Database Floor::Open(const std::string& path, int flags) {
  sqlite3* database = nullptr;
  const int code = sqlite3_open_v2(path.c_str(), &database, flags | SQLITE_OPEN_NOMUTEX, nullptr);
  Database opened(database);
  Check(code == SQLITE_OK);
  return opened;
}

void Floor::Copy(const std::string& storeFile, const std::string& path) {
  const Database copy = Open(path, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE);
  const Database source = Open(storeFile, SQLITE_OPEN_READWRITE);
  sqlite3_backup* const backup = sqlite3_backup_init(copy.get(), "main", source.get(), "main");
  Check(backup != nullptr && sqlite3_backup_step(backup, -1) == SQLITE_DONE);
  Check(sqlite3_backup_finish(backup) == SQLITE_OK);
  Check(sqlite3_exec(copy.get(), "PRAGMA journal_mode=WAL;", nullptr, nullptr, nullptr) == SQLITE_OK);
}

void Floor::ReadOnce(const std::string& path, const std::string& instance) {
  Check(SelectOnce(path.c_str(), instance.c_str()));
}

Floor::Floor(const std::string& storeFile, const std::string& path) : Floor((Copy(storeFile, path), path)) {}

Floor::Floor(const std::string& path) : database_(Open(path, SQLITE_OPEN_READWRITE)) {
  constexpr int kWait = 3000;
  sqlite3_busy_timeout(database_.get(), kWait);
  Execute("PRAGMA synchronous=FULL;");

  const ConfigStoreObjectId type = SampleType();
  const auto prepareForType = [&](const char* sql) {
    Statement statement = Prepare(sql);
    Bind(*statement, 1, type.key);
    Bind(*statement, 2, type.group);
    Bind(*statement, 3, type.component);
    return statement;
  };
  select_ = prepareForType(kSelectRow);
  selectAll_ = prepareForType(kSelectAll);
  insert_ = prepareForType(kInsert);
  Bind(*insert_, 6, "1.0");
  update_ = prepareForType(kUpdate);
  deleteAll_ = prepareForType(kDeleteAll);
}

Floor::Statement Floor::Prepare(const char* sql) const {
  sqlite3_stmt* statement = nullptr;
  Check(sqlite3_prepare_v3(database_.get(), sql, -1, SQLITE_PREPARE_PERSISTENT, &statement, nullptr) == SQLITE_OK);
  return Statement(statement);
}

void Floor::Execute(const char* sql) const {
  Check(sqlite3_exec(database_.get(), sql, nullptr, nullptr, nullptr) == SQLITE_OK);
}

void Floor::Bind(sqlite3_stmt& statement, int index, std::string_view text) {
  // The identity of the type is bound once and for all, hence copied.
  sqlite3_destructor_type lifetime = index < 4 || index == 6 ? SQLITE_TRANSIENT : SQLITE_STATIC;
  Check(sqlite3_bind_text64(&statement, index, text.data(), text.size(), lifetime, SQLITE_UTF8) == SQLITE_OK);
}

void Floor::Run(sqlite3_stmt& statement) {
  const int code = sqlite3_step(&statement);
  sqlite3_reset(&statement);
  Check(code == SQLITE_DONE);
}

std::string_view Floor::TextOfRow(sqlite3_stmt& statement) {
  const int columns = sqlite3_column_count(&statement);
  for (int column = 0; column < columns; ++column) sqlite3_column_text(&statement, column);
  const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(&statement, kValueColumn));
  Check(text != nullptr);
  return {text, static_cast<size_t>(sqlite3_column_bytes(&statement, kValueColumn))};
}

void Floor::Write(const FloorRow& row) {
  Bind(*insert_, 4, row.instance);
  Bind(*insert_, 5, row.text);
  Run(*insert_);
}

void Floor::Update(const FloorRow& row) {
  Bind(*update_, 4, row.instance);
  Bind(*update_, 5, row.text);
  Run(*update_);
}

void Floor::ReplaceAll(const std::vector<FloorRow>& rows) {
  Execute("BEGIN IMMEDIATE;");
  Run(*deleteAll_);
  for (const FloorRow& row : rows) Write(row);
  Execute("COMMIT;");
}

}  // namespace bench
