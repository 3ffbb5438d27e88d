#pragma once

#include <string>
#include <vector>

#include "configstore/upgrade_library.h"

/// The three calls of the host's upgrade library. They go to the functions that
/// ScopedUpgradeLibrary has put in force; without any, no upgrade is running.

namespace OrvoConfigUpgrade {

bool IsUpgrade();
bool GetUpgradeRunner();
void UpgradeConfig(const bool& late, std::vector<std::string> packages, const bool& second);

}  // namespace OrvoConfigUpgrade
