#pragma once

#include <string>
#include <vector>

/// The tables of the two databases and the trigger of the store: the one copy.
/// The statements of the layers above rely on these names and columns.

namespace DBStore {

/// A table or trigger and the statement that creates it when it is missing.
struct Definition {
  std::string name;
  std::string sql;
};

/// Column fragments; a table is its name and its fragments in order.
constexpr char kIdentityColumns[] = "Component TEXT,ConfigGroup TEXT,Name TEXT,";
constexpr char kValueColumn[] = "Value TEXT,";
constexpr char kInstanceColumn[] = "Identifier TEXT NOT NULL DEFAULT '',";
constexpr char kSourceColumn[] = "Source INTEGER,";
constexpr char kTimeColumns[] = "ModifiedTime DATETIME DEFAULT (datetime(CURRENT_TIMESTAMP)),CreationTime DATETIME,";
constexpr char kVersionColumn[] = "Version TEXT DEFAULT '',";
constexpr char kNoRestoreColumn[] = "NoRestore BOOLEAN DEFAULT 0,";
constexpr char kSuccessColumn[] = "Success BOOLEAN DEFAULT 1,";
constexpr char kPackageColumn[] = "PakId TEXT,";
constexpr char kLayerColumns[] =
    "AutoConfValue TEXT, UserValue TEXT, VitalValue TEXT, CachedValue TEXT, DesiredValue TEXT, ";
constexpr char kKeyOfFour[] = "PRIMARY KEY(Component, ConfigGroup, Name, Identifier))";
constexpr char kKeyOfThree[] = "PRIMARY KEY(Component, ConfigGroup, Name))";

constexpr char kConfigTable[] = "Config";
constexpr char kTriggerName[] = "updateModifiedTime";
/// Every update of a row refreshes its time; an insert relies on the default.
/// The update inside does not fire the trigger again while recursive triggers
/// are off.
constexpr char kTrigger[] =
    "CREATE TRIGGER IF NOT EXISTS updateModifiedTime AFTER UPDATE ON Config BEGIN UPDATE Config SET "
    "ModifiedTime=(datetime(CURRENT_TIMESTAMP)) WHERE Name=NEW.Name and Component=NEW.Component and "
    "ConfigGroup=New.ConfigGroup and Identifier=NEW.Identifier; END;";

inline Definition Table(const std::string& name, const std::vector<const char*>& fragments) {
  Definition table{name, "CREATE TABLE IF NOT EXISTS " + name + "("};
  for (const char* fragment : fragments) table.sql += fragment;
  return table;
}

inline Definition ConfigSchemaTable() {
  return Table("ConfigSchema", {kPackageColumn, kIdentityColumns, kValueColumn, kVersionColumn, kSuccessColumn,
                                kNoRestoreColumn, kKeyOfThree});
}

/// The store's six tables.
inline std::vector<Definition> StoreTables() {
  return {
      Table(kConfigTable, {kIdentityColumns, kInstanceColumn, kTimeColumns, kVersionColumn, kSuccessColumn,
                           kLayerColumns, kKeyOfFour}),
      Table("DefaultConfig", {kIdentityColumns, kValueColumn, kInstanceColumn, kSourceColumn, kTimeColumns,
                              kVersionColumn, kSuccessColumn, kKeyOfFour}),
      Table("DesiredUserConfig",
            {kIdentityColumns, kValueColumn, kInstanceColumn, kVersionColumn, kSuccessColumn, kKeyOfFour}),
      Table("UpgradeStatus", {kIdentityColumns, kValueColumn, kInstanceColumn, kTimeColumns, kVersionColumn,
                              kSuccessColumn, " LibName TEXT, PRIMARY KEY(LibName))"}),
      ConfigSchemaTable(),
      Table("KVTable", {"Key TEXT, Value TEXT, ", kTimeColumns, "PRIMARY KEY(Key));"}),
  };
}

/// All that a store consists of.
inline std::vector<Definition> StoreDefinitions() {
  std::vector<Definition> definitions = StoreTables();
  definitions.push_back({kTriggerName, kTrigger});
  return definitions;
}

}  // namespace DBStore
