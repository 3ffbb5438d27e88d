#pragma once

#include <string>

/// Every statement text of the library. Names and identifiers are filled in with
/// FormatSql, values are bound to the "?"; positional places mean %1$s
/// identifier, %2$s name, %3$s group, %4$s component, %5$s version.

namespace OrvoConfigStore {

/// The value layers of table Config, and the value of the other tables.
constexpr char kAutoConfValue[] = "AutoConfValue";
constexpr char kUserValue[] = "UserValue";
constexpr char kVitalValue[] = "VitalValue";
constexpr char kCachedValue[] = "CachedValue";
constexpr char kDesiredValue[] = "DesiredValue";
constexpr char kValue[] = "Value";

/// Further columns of a row.
constexpr char kVersion[] = "Version";
constexpr char kSuccess[] = "Success";
constexpr char kPending[] = "Pending";
constexpr char kIdentifier[] = "Identifier";
constexpr char kName[] = "Name";
constexpr char kGroup[] = "ConfigGroup";
constexpr char kComponent[] = "Component";
constexpr char kCreationTime[] = "CreationTime";
constexpr char kModifiedTime[] = "ModifiedTime";

/// Tables that `Write` and `Read` are given by name.
constexpr char kDefaultConfigTable[] = "DefaultConfig";
constexpr char kDesiredUserConfigTable[] = "DesiredUserConfig";
constexpr char kConfigSchemaTable[] = "ConfigSchema";

/// Keys of the store's own values.
constexpr char kIsBootKey[] = "IS_BOOT";
constexpr char kApplyBootKey[] = "APPLY_BOOT";
constexpr char kBackupFilesKey[] = "BACKUP_FILES";

/// The namespaces of the store; GetStore accepts only the empty one.
constexpr const char* kNamespaces[] = {"system-early", "network", "storage", "system"};

namespace Sql {

// Reading a named table: one instance or a singleton, all rows or confirmed ones.
constexpr char kReadInstance[] =
    "SELECT Value, Version from'%s' WHERE Name='%s' and Component='%s' and Identifier='%s' and ConfigGroup='%s';";
constexpr char kReadSingleton[] =
    "SELECT Value, Version from'%s' WHERE Name='%s' and Component='%s' and ConfigGroup='%s';";
constexpr char kReadConfirmedInstance[] =
    "SELECT Value, Version from'%s' WHERE Name='%s' and Component='%s' and Identifier='%s' and Success=1 and "
    "ConfigGroup='%s';";
constexpr char kReadConfirmedSingleton[] =
    "SELECT Value, Version from'%s' WHERE Name='%s' and Component='%s' and Success=1 and ConfigGroup='%s';";

// Reading whole tables, and one layer (%1$s) of all objects.
constexpr char kReadConfirmedTable[] =
    "SELECT Name, Value, Component, Identifier, Version, ConfigGroup from '%s' WHERE Success=1;";
constexpr char kReadTable[] = "SELECT Name, Value, Component, Identifier, Version, ConfigGroup from '%s';";
constexpr char kReadConfirmedLayer[] =
    "SELECT Name, %1$s as Value, Component, Identifier, Version, ConfigGroup, CreationTime, ModifiedTime from 'Config' "
    "WHERE Success=1 and %1$s is not null;";
constexpr char kReadLayer[] =
    "SELECT Name, %1$s as Value, Component, Identifier, Version, ConfigGroup, CreationTime, ModifiedTime from 'Config' "
    "where %1$s is not null;";

// Reading one object: name, group, component, identifier.
constexpr char kGet[] =
    "SELECT Version, AutoConfValue, UserValue, VitalValue, CachedValue, Success, CreationTime, ModifiedTime from "
    "Config WHERE Name='%s' and ConfigGroup='%s' and Component='%s' and Identifier='%s';";
constexpr char kGetForUser[] =
    "SELECT Version, UserValue, VitalValue, CachedValue, Success, CreationTime, ModifiedTime from Config WHERE "
    "Name='%s' and ConfigGroup='%s' and Component='%s' and Identifier='%s';";
constexpr char kGetForAutoConf[] =
    "SELECT Version, AutoConfValue, VitalValue, CachedValue, CreationTime, ModifiedTime from Config WHERE Name='%s' "
    "and ConfigGroup='%s' and Component='%s' and Identifier='%s';";
constexpr char kGetDesired[] =
    "SELECT Version, CASE Success WHEN 0 THEN UserValue ELSE DesiredValue END Value, CreationTime, ModifiedTime from "
    "Config WHERE Name='%s' and ConfigGroup='%s' and Component='%s' and Identifier='%s' and Value is not null;";
constexpr char kGetStoredRow[] =
    "SELECT Version, AutoConfValue, UserValue, VitalValue, CachedValue, DesiredValue, Success, CreationTime, "
    "ModifiedTime from Config WHERE Name='%s' and ConfigGroup='%s' and Component='%s' and Identifier='%s';";

// All that is known of one object, in one look: identifier, name, group, component.
constexpr char kExplain[] =
    "SELECT c.Identifier Identifier, c.Version Version, c.AutoConfValue AutoConfValue, c.UserValue UserValue, "
    "c.VitalValue VitalValue, c.CachedValue CachedValue, c.DesiredValue DesiredValue, c.Success Success, "
    "(SELECT Value FROM DesiredUserConfig WHERE Name='%2$s' and ConfigGroup='%3$s' and Component='%4$s' and "
    "Identifier='%1$s') StagedValue, (SELECT Value FROM DefaultConfig WHERE Name='%2$s' and ConfigGroup='%3$s' and "
    "Component='%4$s' and Identifier='%1$s') DefaultValue, (SELECT Value FROM KVTable WHERE Key='APPLY_BOOT') "
    "ApplyBoot FROM (SELECT 1) LEFT JOIN Config c ON c.Name='%2$s' and c.ConfigGroup='%3$s' and c.Component='%4$s' "
    "and c.Identifier='%1$s';";

// Listing: three conditions that an empty value meets always.
constexpr char kListObjects[] =
    "SELECT Component, ConfigGroup, Name, Identifier, Version, Success, DesiredValue is not null Pending from Config "
    "WHERE ('%1$s'='' or Component='%1$s') and ('%2$s'='' or ConfigGroup='%2$s') and ('%3$s'='' or Name='%3$s') ORDER "
    "BY Component, "
    "ConfigGroup, Name, Identifier;";
// The same, whole rows: the order is the index's own, so that nothing is sorted.
constexpr char kExportObjects[] =
    "SELECT Component, ConfigGroup, Name, Identifier, Version, Success, AutoConfValue, UserValue, VitalValue, "
    "CachedValue, DesiredValue, CreationTime, ModifiedTime from Config INDEXED BY sqlite_autoindex_Config_1 WHERE "
    "('%1$s'='' or Component='%1$s') and ('%2$s'='' or ConfigGroup='%2$s') and ('%3$s'='' or Name='%3$s') ORDER BY "
    "Component, ConfigGroup, Name, Identifier;";

// Reading whole rows; conditions follow.
constexpr char kReadRows[] =
    "SELECT Component, ConfigGroup, Name, Identifier, Version, AutoConfValue, UserValue, VitalValue, CachedValue, "
    "DesiredValue, Success from Config";

// The same with the rows.
constexpr char kListRows[] =
    "SELECT Component, ConfigGroup, Name, Identifier, Version, AutoConfValue, UserValue, VitalValue, "
    "CachedValue, DesiredValue, Success, CreationTime, ModifiedTime from Config WHERE ('%1$s'='' or "
    "Component='%1$s') and ('%2$s'='' or ConfigGroup='%2$s') and ('%3$s'='' or Name='%3$s') ORDER BY Component, "
    "ConfigGroup, Name, Identifier;";

// What a rehearsal has changed, against the tables that keep the state before it.
constexpr char kChangedRows[] =
    "SELECT a.Component Component, a.ConfigGroup ConfigGroup, a.Name Name, a.Identifier Identifier, b.Component "
    "WasThere, a.Component IsThere, a.Version Version, a.Success Success, a.AutoConfValue AutoConfValue, "
    "a.UserValue UserValue, a.VitalValue VitalValue, a.CachedValue CachedValue, a.DesiredValue DesiredValue, "
    "b.Version OldVersion, b.Success OldSuccess, b.AutoConfValue OldAutoConfValue, b.UserValue OldUserValue, "
    "b.VitalValue OldVitalValue, b.CachedValue OldCachedValue, b.DesiredValue OldDesiredValue from Config a LEFT "
    "JOIN BeforeConfig b ON b.Component=a.Component and b.ConfigGroup=a.ConfigGroup and b.Name=a.Name and "
    "b.Identifier=a.Identifier WHERE b.Component IS NULL or a.Version IS NOT b.Version or a.Success IS NOT "
    "b.Success or a.AutoConfValue IS NOT b.AutoConfValue or a.UserValue IS NOT b.UserValue or a.VitalValue IS "
    "NOT b.VitalValue or a.CachedValue IS NOT b.CachedValue or a.DesiredValue IS NOT b.DesiredValue UNION ALL "
    "SELECT b.Component, b.ConfigGroup, b.Name, b.Identifier, b.Component, NULL, NULL, NULL, NULL, NULL, NULL, "
    "NULL, NULL, b.Version, b.Success, b.AutoConfValue, b.UserValue, b.VitalValue, b.CachedValue, b.DesiredValue "
    "from BeforeConfig b WHERE NOT EXISTS (SELECT 1 from Config a WHERE a.Component=b.Component and "
    "a.ConfigGroup=b.ConfigGroup and a.Name=b.Name and a.Identifier=b.Identifier) ORDER BY 1, 2, 3, 4;";
constexpr char kChangedValues[] =
    "SELECT a.Component Component, a.ConfigGroup ConfigGroup, a.Name Name, a.Identifier Identifier, b.Value "
    "OldValue, a.Value Value from '%1$s' a LEFT JOIN 'Before%1$s' b ON b.Component=a.Component and "
    "b.ConfigGroup=a.ConfigGroup and b.Name=a.Name and b.Identifier=a.Identifier WHERE a.Value IS NOT b.Value "
    "UNION ALL SELECT b.Component, b.ConfigGroup, b.Name, b.Identifier, b.Value, NULL from 'Before%1$s' b WHERE "
    "NOT EXISTS (SELECT 1 from '%1$s' a WHERE a.Component=b.Component and a.ConfigGroup=b.ConfigGroup and "
    "a.Name=b.Name and a.Identifier=b.Identifier) ORDER BY 1, 2, 3, 4;";
constexpr char kChangedState[] =
    "SELECT a.Key Key, b.Value OldValue, a.Value Value from KVTable a LEFT JOIN BeforeKVTable b ON b.Key=a.Key "
    "WHERE a.Value IS NOT b.Value UNION ALL SELECT b.Key, b.Value, NULL from BeforeKVTable b WHERE NOT EXISTS "
    "(SELECT 1 from KVTable a WHERE a.Key=b.Key) ORDER BY 1;";

// Reading all instances of a type: name, group, component.
constexpr char kGetInstances[] =
    "select Version, Success, identifier, UserValue, VitalValue, CachedValue, AutoConfValue, CreationTime, "
    "ModifiedTime from config where Name='%s' and ConfigGroup='%s' and Component='%s';";
constexpr char kGetDesiredInstances[] =
    "select identifier, CASE Success WHEN 0 THEN UserValue ELSE DesiredValue END Value, version, CreationTime, "
    "ModifiedTime from Config where Name='%s' and ConfigGroup='%s' and Component='%s' and Value not null;";
constexpr char kGetDefaultInstances[] =
    "select value, version, identifier from DefaultConfig where Name='%s' and ConfigGroup='%s' and Component='%s';";

// Writing a named table: component, group, name, value[, identifier], version.
constexpr char kWriteSingleton[] =
    "INSERT OR REPLACE INTO '%s'(Component, ConfigGroup, Name, Value, Version)VALUES (?, ?, ?, ?, ?);";
constexpr char kWriteInstance[] =
    "INSERT OR REPLACE INTO '%s'(Component, ConfigGroup, Name, Value, Identifier, Version)VALUES (?, ?, ?, ?, ?, ?);";

// Changing a row that exists: user, vital and cached parts (automatic for user).
constexpr char kUpdateForUser[] =
    "update Config set uservalue=?, vitalvalue=?, cachedvalue=?, DesiredValue=NULL where name='%s' and "
    "configgroup='%s' and component='%s' and identifier='%s';";
constexpr char kUpdateKeepingDesired[] =
    "update Config set uservalue=?, vitalvalue=?, cachedvalue=? where name='%s' and configgroup='%s' and "
    "component='%s' and identifier='%s';";
constexpr char kUpdateForAutoConf[] =
    "update Config set autoconfvalue=?, vitalvalue=?, cachedvalue=? where name='%s' and configgroup='%s' and "
    "component='%s' and identifier='%s';";

// Deleting.
constexpr char kDelete[] =
    "DELETE FROM 'Config' WHERE Name = '%s' and Component='%s' and Identifier='%s' and ConfigGroup='%s';";
constexpr char kDeleteInstances[] = "DELETE FROM 'Config' WHERE Name = '%s' and Component='%s' and ConfigGroup='%s';";
constexpr char kClearLayer[] = "update config set %s=null where name='%s' and configgroup='%s' and component='%s';";

// Staged configuration and its confirmation.
constexpr char kBegin[] = "BEGIN IMMEDIATE;";
constexpr char kCommit[] = "COMMIT;";
constexpr char kRollback[] = "ROLLBACK;";
constexpr char kClearStaged[] = "DELETE from DesiredUserConfig;";
constexpr char kConfirm[] =
    "UPDATE Config SET UserValue = CASE WHEN DesiredValue IS NULL THEN UserValue ELSE DesiredValue END, "
    "DesiredValue=NULL, Success=1 WHERE Name ='%s' and ConfigGroup='%s' and Component='%s';";
constexpr char kConfirmInstance[] =
    "UPDATE Config SET UserValue = CASE WHEN DesiredValue IS NULL THEN UserValue ELSE DesiredValue END, "
    "DesiredValue=NULL, Success=1 WHERE Name ='%s' and ConfigGroup='%s' and Component='%s' and Identifier='%s';";
constexpr char kGetConfirmedUser[] =
    "SELECT Version, UserValue, CreationTime, ModifiedTime FROM Config WHERE Name='%s' and ConfigGroup='%s' and "
    "Component='%s' and Identifier='%s' and Success=1;";
constexpr char kParkUser[] =
    "update config set desiredvalue = uservalue where name='%s' and configgroup='%s' and component='%s' and "
    "identifier='%s';";
constexpr char kGetParked[] =
    "SELECT Version, DesiredValue, CreationTime, ModifiedTime FROM Config WHERE Name='%s' and ConfigGroup='%s' and "
    "Component='%s' and Identifier='%s';";
constexpr char kSetConfirmedUser[] =
    "UPDATE Config SET UserValue=?, Success=1 WHERE Name='%s' and ConfigGroup='%s' and Component='%s' and "
    "Identifier='%s';";
constexpr char kClearDesired[] =
    "UPDATE Config SET DesiredValue = null WHERE Name = '%s' and Component='%s' and ConfigGroup='%s' and "
    "Identifier='%s';";

// Loading at boot and maintenance.
constexpr char kClearUserLayer[] = "update config set uservalue=null;";
constexpr char kInsertStaged[] =
    "insert or ignore into config(component, configgroup, name , identifier, uservalue) select component, configgroup, "
    "name, identifier, value from desireduserconfig;";
constexpr char kApplyStaged[] =
    "update config set uservalue=(select value from desireduserconfig d where d.name=config.name and "
    "d.configgroup=config.configgroup and d.component=config.component and (d.identifier is null or d.identifier='' "
    "or d.identifier=config.identifier));";
constexpr char kAttachSchemaStore[] = "ATTACH DATABASE '/etc/halden/schemastore/schema-store-1' AS ss;";
constexpr char kDetachSchemaStore[] = "DETACH DATABASE ss;";
constexpr char kResetSuccess[] =
    "UPDATE Config as c SET UserValue = CASE WHEN DesiredValue IS NULL THEN UserValue ELSE DesiredValue END, "
    "DesiredValue=NULL, Success=0 WHERE ( SELECT noRestore FROM ss.ConfigSchema as s WHERE s.name = c.name and "
    "s.configgroup = c.configgroup and s.component = c.component ) = 0;";
constexpr char kDropStaged[] = "Delete from DesiredUserConfig";
constexpr char kDeleteUnknownTypes[] =
    "DELETE from Config where (Component,ConfigGroup,Name) NOT IN (SELECT Component,ConfigGroup,Name FROM "
    "ss.ConfigSchema);";
constexpr char kClearAutoConf[] = "update config set autoconfvalue=null;";
constexpr char kDeleteEmptyRows[] =
    "delete from config where uservalue is null and vitalvalue is null and cachedvalue is null;";
constexpr char kSetUpgradeStatus[] = "INSERT OR REPLACE INTO UpgradeStatus (LibName, Success) VALUES(?, ?);";
constexpr char kGetUpgradeStatus[] = "SELECT Success FROM UpgradeStatus WHERE LibName='%s';";
constexpr char kDeleteDefaults[] = "DELETE FROM DefaultConfig WHERE Name='%s' and ConfigGroup='%s' and Component='%s';";
constexpr char kReadPending[] =
    "SELECT Component, ConfigGroup, Name, Identifier, UserValue, DesiredValue, Success from Config;";
// Which rows a load can give another user value, or delete with a desired one: a row
// changes by what it holds itself and, in an apply boot, by what is staged for it.
constexpr char kOfAnApplyBoot[] = "WHERE (SELECT Value FROM KVTable WHERE Key='APPLY_BOOT') = 'true'";
constexpr char kOfALossyLoad[] =
    "WHERE DesiredValue IS NOT NULL or (SELECT Value FROM KVTable WHERE Key='APPLY_BOOT') = 'true'";

}  // namespace Sql

/// A write of one layer; indexes kept in order with the table behind it.
enum class LayerWrite { User, UserInUpgrade, AutoConf, Vital, Cached };

/// A write by caller context; likewise.
enum class ContextWrite { UserDroppingDesired, User, AutoConf };

/// An "insert or replace" statement in two parts: the columns, then the row with
/// its positional places. A column that the write does not own is carried over
/// from the row that exists, by a select inside the statement.
struct RowSql {
  std::string head;
  std::string row;
  std::string text = head + row;
};

/// All four layers of an object; binds automatic, user, vital and cached value.
const RowSql& CompleteWriteSql();
/// One layer; binds its value.
const RowSql& LayerWriteSql(LayerWrite write);
/// The user, vital and cached parts of an object, creating its row when needed.
const RowSql& ContextWriteSql(ContextWrite write);

}  // namespace OrvoConfigStore
