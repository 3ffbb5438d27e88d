#include <memory>

#include "configstore/lifecycle.h"
#include "configstore/logging.h"
#include "configstore/upgrade_library.h"
#include "lifecycle/exec_command.h"
#include "lifecycle/package_files.h"
#include "platform/host_files.h"
#include "platform/host_paths.h"

namespace OrvoConfigStore {
namespace {

constexpr char kUpgradeFolder[] = "upgrade";

bool IsUpgrade() {
  return HaldenLib::FileExists(HaldenLib::kUpgradeMarkFile);
}

/// Runs the programs of a package one after the other, until one fails.
bool RunPrograms(const std::vector<std::string>& programs, const char* when) {
  for (const std::string& program : programs) {
    const char* const words[] = {program.c_str(), when, nullptr};
    if (!ExecCommand(words)) {
      LogRefusal(program, "the upgrade has failed");
      return false;
    }
  }
  return true;
}

void UpgradePackage(const std::string& package, const char* when) {
  std::vector<std::string> programs;
  const bool isListed = ListPackageFolder(package, kUpgradeFolder, &programs);
  SetUpgradeLibStatus(isListed && RunPrograms(programs, when), package);
}

void UpgradePackages(bool late, const std::vector<std::string>& listed) {
  std::vector<std::string> installed;
  if (!IsUpgrade() || !ListInstalledPackages(&installed)) return;
  for (const std::string& package : ChoosePackages(listed, installed)) UpgradePackage(package, late ? "late" : "early");
}

}  // namespace

OrvoConfigUpgrade::UpgradeFunctions PackageUpgrades() {
  OrvoConfigUpgrade::UpgradeFunctions functions;
  functions.isUpgrade = IsUpgrade;
  functions.upgradeConfig = [](bool late, const std::vector<std::string>& packages, bool) {
    UpgradePackages(late, packages);
  };
  return functions;
}

}  // namespace OrvoConfigStore
