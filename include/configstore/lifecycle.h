#pragma once

#include <optional>
#include <string>
#include <vector>

#include "configstore/export.h"
#include "configstore/object_id.h"
#include "configstore/upgrade_library.h"

/// Loading the store at boot, keeping it in order, and upgrading it: the entry
/// points of the host's boot scripts, upgrade tools and packages.

namespace OrvoConfigStore {

/// Gives the store and its backup directory a file system in memory each; their
/// mount points are created when they are missing, and left alone when something
/// is mounted there already. Returns 0. Throws ConfigStoreException(2000) when one
/// of the two cannot be mounted.
CONFIGSTORE_API int SetupStoreRamDisk();

/// Loads the store. With `boot` the store file is removed and the last backup, if
/// it is consistent, put in its place. Then, in either case:
/// 1. what is missing of the databases is created, and the schemas of all
///    installed packages are registered;
/// 2. automatic values are cleared, and objects deleted that hold nothing else;
/// 3. an upgrade that is under way runs, and restored files are cleaned up;
/// 4. when this boot applies the staged configuration, that replaces all user
///    values, in one transaction;
/// 5. pending desired values become user values, and every object is unconfirmed
///    unless its type is marked "noRestore";
/// 6. the boot phase begins, and the next boot is a normal one.
/// A backup that cannot be used is logged, and a new store takes its place. Throws
/// ConfigStoreException(2000) when a statement fails in 2, 4 or 5; the step has
/// then changed nothing, and loading again takes it up.
/// Warnings and errors go to the log file "configstore-boot" too.
/// Deliberate: an exception leaves that log file open, for what follows.
CONFIGSTORE_API void LoadStore(bool boot);

/// Begin and end the boot phase. A failure is not reported.
/// Deliberate: it ends with an empty value, not with "false".
CONFIGSTORE_API void StartAutoConf();
CONFIGSTORE_API void EndAutoConf();

/// Clears the automatic values, then deletes objects that are left without a user,
/// vital and cached value, a staged desired value notwithstanding. Does nothing
/// while the feature "ConfigStore" is off. Throws ConfigStoreException(2000) when
/// a statement fails; nothing is changed then.
CONFIGSTORE_API void CleanupAutoConfig();

/// Deletes the objects whose type is not registered. A failure is logged. Does
/// nothing while the feature "ConfigStore" is off.
CONFIGSTORE_API void CleanupStore();

/// Has the host's file tracker look at files that were restored. A failure is logged.
CONFIGSTORE_API void CleanupRestoredFiles();

/// Copies the database file `source` onto `destination`, which is created when it
/// is missing (0600, its directory must exist) and is afterwards one file that
/// opens on a read-only medium. Either is replaced as a whole or left as it was.
/// What happens is said in syslog. Returns 0 on success; SQLite's code when a file
/// cannot be opened, a missing source included; 1 when copying fails, when a copy
/// that is complete cannot be made one file, or when the databases stay busy for
/// ten attempts, a second apart. A path that begins with
/// "file:" is refused.
CONFIGSTORE_API int backup(const std::string& source, const std::string& destination);

/// Return the host's paths of the store and of the backup that is made of it,
/// whether the files exist or not.
CONFIGSTORE_API std::string GetStorePath();
CONFIGSTORE_API std::string GetBackupPath();

/// Returns the path of the backup that a boot load restores, consistent or not;
/// empty when there is none.
CONFIGSTORE_API std::string FindBackup();

/// Whether the database file at `path` is a consistent store. What a crash left
/// unfinished in it is settled, where the file may be written.
CONFIGSTORE_API bool IsConsistentStore(const std::string& path);

/// Copies the host's file `path` into the backup directory and puts it on the list
/// of files that come back with the store. Takes absolute paths of regular files
/// below /etc/halden, the store's own directories excepted, without ".." or links
/// on the way; throws InvalidArgumentException(2000) for a path that is none, and
/// ConfigStoreException(2000) when the file cannot be copied or the list written.
CONFIGSTORE_API void BackUpHostFile(const std::string& path);

/// Registers the types in the schema files of the packages, all installed ones
/// when the list is empty: components/PACKAGE/schema/*.json. Types of those
/// packages whose file is gone are no longer registered; what a removed package
/// brought goes when that is named. Creates the databases when they are missing.
/// Returns false, and changes nothing, when any file is bad or brings a type of
/// another package; the log says which and why. Without any package directory
/// nothing is changed.
CONFIGSTORE_API bool ProcessSchemas(std::vector<std::string> paks);

/// Stores the default objects in the files of the packages, all installed ones
/// when the list is empty: components/PACKAGE/defaults/*.json, each
/// {"defaults": [{"component": C, "group": G, "key": K, "value": object or array}]}.
/// A type with generated identifiers keeps the defaults that it has, as long as
/// they are of its version. Returns false, and changes nothing, when any file is
/// bad or an object is not valid; the log says which and why.
CONFIGSTORE_API bool ProcessDefaultConfiguration(std::vector<std::string> paks);

/// Processes the schemas of `schemaPaks` and then has the upgrade library upgrade
/// `upgradePaks`. Returns false, without an upgrade, when the schemas are refused.
CONFIGSTORE_API bool RefreshConfigStore(std::vector<std::string> schemaPaks, std::vector<std::string> upgradePaks);

/// Has the upgrade library upgrade `paks`, late, with the store up. On a host that
/// is not upgrading this is logged and ignored.
CONFIGSTORE_API void Upgrade(std::vector<std::string> paks);

/// Records whether an upgrade library's last run succeeded. A failure is logged.
CONFIGSTORE_API void SetUpgradeLibStatus(const bool& success, const std::string& libName);

/// Returns 1 when the library's last run succeeded, 0 when it did not, and 2 when
/// that is not known.
/// Deliberate: a name with a quote in it is never known.
CONFIGSTORE_API int GetUpgradeLibStatus(const std::string& libName);

/// Returns an upgrade library for hosts that have none of their own; a
/// ScopedUpgradeLibrary puts it in force. The host is upgrading while the file
/// /etc/halden/upgrade-in-progress exists. An upgrade runs the programs
/// components/PACKAGE/upgrade/* of each listed package, of all installed ones for an
/// empty list, in the order of their names, with the argument "early" or "late",
/// until one fails; how it ended is recorded under the name of the package.
CONFIGSTORE_API OrvoConfigUpgrade::UpgradeFunctions PackageUpgrades();

/// What the next load would make of one object.
struct BootChange {
  ConfigStoreObjectId id;
  std::optional<std::string> userBefore;   ///< its user value now
  std::optional<std::string> userAfter;    ///< and after the load
  std::optional<std::string> desiredLost;  ///< a desired value that the clean-up deletes with the object
  bool wasConfirmed = true;
  bool isConfirmed = true;  ///< after the load; an unconfirmed user value is not read
};

/// What the next load would do.
struct BootPreview {
  bool appliesStaged = false;       ///< it puts the staged configuration in force
  std::vector<BootChange> changes;  ///< sorted; of each object that changes or begins unconfirmed
};

/// Runs the loading steps on a copy of the store in memory and returns what they
/// change; the store is not touched. The schemas are those registered now; an
/// upgrade and the restoring of a backup are left out. Throws
/// ConfigStoreException(2000) when the store cannot be read, and as LoadStore does.
CONFIGSTORE_API BootPreview PreviewBoot();

/// Returns those of these changes that take something away: an object that loses its
/// user value, gets another one in its place, or goes with its desired value. It
/// takes memory for the objects with a desired value, not for all, unless the load
/// puts the staged configuration in force. Throws as PreviewBoot.
CONFIGSTORE_API std::vector<BootChange> PreviewBootLosses();

}  // namespace OrvoConfigStore
