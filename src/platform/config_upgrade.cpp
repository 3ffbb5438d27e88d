#include "platform/config_upgrade.h"

#include <memory>
#include <utility>

#include "platform/process_wide.h"

namespace OrvoConfigUpgrade {

namespace {

using InForce = HaldenLib::ProcessWide<UpgradeFunctions>;

}  // namespace

bool IsUpgrade() {
  const auto functions = InForce::Get();
  return functions && functions->isUpgrade && functions->isUpgrade();
}

bool GetUpgradeRunner() {
  const auto functions = InForce::Get();
  return functions && functions->getUpgradeRunner && functions->getUpgradeRunner();
}

void UpgradeConfig(const bool& late, std::vector<std::string> packages, const bool& second) {
  const auto functions = InForce::Get();
  if (functions && functions->upgradeConfig) functions->upgradeConfig(late, std::move(packages), second);
}

ScopedUpgradeLibrary::ScopedUpgradeLibrary(UpgradeFunctions functions)
    : before_(InForce::Exchange(std::make_shared<const UpgradeFunctions>(std::move(functions)))) {}

ScopedUpgradeLibrary::~ScopedUpgradeLibrary() {
  InForce::Exchange(std::move(before_));
}

}  // namespace OrvoConfigUpgrade
