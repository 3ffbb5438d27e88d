#pragma once

#include <string>

/// Every absolute path of the host, and the root under which they are found.
/// Messages and statement texts carry the paths as they stand here; only calls
/// into the operating system resolve them.

namespace HaldenLib {

constexpr char kStoreDirectory[] = "/etc/halden/configstore";
constexpr char kStoreFile[] = "/etc/halden/configstore/current-store-1";
constexpr char kSchemaStoreDirectory[] = "/etc/halden/schemastore";
constexpr char kSchemaStoreFile[] = "/etc/halden/schemastore/schema-store-1";
constexpr char kBackupDirectory[] = "/var/lib/halden/configstore/backup";
constexpr char kBackupFile[] = "/var/lib/halden/configstore/backup/current-store-1";
constexpr char kFirstBootBackupFile[] = "/var/lib/halden/configstore/firstbootBackup/current-store-1";
constexpr char kConfigurationDirectory[] = "/etc/halden";
constexpr char kPreferencesFile[] = "/etc/halden/preferences";
constexpr char kFeaturesFile[] = "/etc/halden/features";
constexpr char kUpgradeMarkFile[] = "/etc/halden/upgrade-in-progress";
constexpr char kSyslogFile[] = "/var/log/syslog";  // under a root only
constexpr char kMountRecordFile[] = "/etc/mtab";   // likewise
constexpr char kKernelLogDirectory[] = "/var/log/";
constexpr char kLogDirectory[] = "/tmp/";
constexpr char kComponentsDirectory[] = "/usr/lib/halden/configmanager/components";
constexpr char kApplyModulesDirectory[] = "/usr/lib/halden/configmanager/apply_modules";
constexpr char kPython[] = "/bin/python";
constexpr char kFileTracker[] = "/usr/lib/halden/configmanager/bin/file-tracker";

/// Sets the root: empty, or an absolute path. Returns false, and changes
/// nothing, for any other text. Without a call HALDEN_ROOT decides, read once
/// and ignored in set-id programs.
bool SetHostRoot(const std::string& root);
/// Returns the root in force: the same text, at the same place, whenever it is in force again.
const std::string& GetHostRoot();

/// Returns `path` under the root; a relative path, or any without a root, as it is.
std::string ResolvePath(const std::string& path);

/// Whether nothing is at `path`; false when that cannot be known, for want of a permission.
bool IsMissing(const std::string& path);

/// Whether something exists at `path` under the root.
bool FileExists(const std::string& path);

}  // namespace HaldenLib
