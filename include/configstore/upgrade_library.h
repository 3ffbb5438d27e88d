#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "configstore/export.h"

namespace OrvoConfigUpgrade {

/// The host's upgrade library as the store calls it. A function left empty
/// answers "no" or does nothing, as on a host without one.
struct UpgradeFunctions {
  /// Whether the host is in the middle of an upgrade.
  std::function<bool()> isUpgrade;
  /// Whether an upgrade runner is registered: user data may then be written
  /// during boot, and new user values start unconfirmed.
  std::function<bool()> getUpgradeRunner;
  /// Runs the upgrades of the listed packages.
  std::function<void(bool late, std::vector<std::string> packages, bool second)> upgradeConfig;
};

/// Puts `functions` in force for the process while it lives; the ones before
/// are then in force again. Scopes must end in the reverse order of their start.
class CONFIGSTORE_API ScopedUpgradeLibrary {
 public:
  explicit ScopedUpgradeLibrary(UpgradeFunctions functions);
  ScopedUpgradeLibrary(const ScopedUpgradeLibrary&) = delete;
  ScopedUpgradeLibrary& operator=(const ScopedUpgradeLibrary&) = delete;
  ~ScopedUpgradeLibrary();

 private:
  std::shared_ptr<const UpgradeFunctions> before_;
};

}  // namespace OrvoConfigUpgrade
