#include <configstore/errors.h>
#include <configstore/host.h>
#include <configstore/lifecycle.h>

#include <unistd.h>

#include <algorithm>
#include <iterator>

#include "command.h"
#include "failure.h"
#include "host_log.h"
#include "json_text.h"

namespace csctl {

using OrvoConfigStore::StorageError;

namespace {

using Packages = std::vector<std::string>;

constexpr char kPackagesHelp[] = "Packages; all installed ones without it";

std::shared_ptr<Packages> AddPackages(Arguments& arguments, const char* help) {
  auto packages = std::make_shared<Packages>();
  arguments.Option("PACKAGE", *packages, help);
  return packages;
}

/// Reports that package files were refused, as `message`, or that the store failed.
[[noreturn]] void FailPackages(const char* message) {
  const StorageError error = OrvoConfigStore::LastStorageError();
  if (error.kind != StorageError::NONE) throw CommandFailed(ExplainStorage(error));
  throw CommandFailed({Exit::kInvalid, message, "", "the system log says which file and why; mend it and try again"});
}

void LoadDefaults(const Packages& packages) {
  if (!OrvoConfigStore::ProcessDefaultConfiguration(packages)) {
    FailPackages("the packages' default files are refused; the defaults are as they were");
  }
}

Run SetUpDefaultsLoad(Arguments& arguments) {
  return [packages = AddPackages(arguments, kPackagesHelp)](Session& session) {
    const HostLog log;
    OpenStore();
    LoadDefaults(*packages);
    session.PrintResult("the defaults are loaded", JsonObject({{"loaded", "true"}}));
    return Exit::kDone;
  };
}

Run SetUpRefresh(Arguments& arguments) {
  return [packages = AddPackages(arguments, kPackagesHelp)](Session& session) {
    const HostLog log;
    const OrvoConfigUpgrade::ScopedUpgradeLibrary library(OrvoConfigStore::PackageUpgrades());
    if (!OrvoConfigStore::RefreshConfigStore(*packages, *packages)) {
      FailPackages("the packages' schema files are refused; types and defaults are as they were");
    }
    LoadDefaults(*packages);
    session.PrintResult("types and defaults are those of the packages", JsonObject({{"refreshed", "true"}}));
    return Exit::kDone;
  };
}

std::string Join(const Packages& packages) {
  std::string joined;
  for (const std::string& package : packages) joined += (joined.empty() ? "" : ", ") + package;
  return joined;
}

/// Returns those of `packages` whose upgrade has failed.
Packages FailedUpgrades(const Packages& packages) {
  Packages failed;
  std::copy_if(packages.begin(), packages.end(), std::back_inserter(failed),
               [](const std::string& package) { return OrvoConfigStore::GetUpgradeLibStatus(package) == 0; });
  return failed;
}

Exit RunUpgrade(Session& session, const Packages& packages) {
  const HostLog log;
  const OrvoConfigUpgrade::UpgradeFunctions functions = OrvoConfigStore::PackageUpgrades();
  const OrvoConfigUpgrade::ScopedUpgradeLibrary library(functions);
  OpenStore();
  if (!functions.isUpgrade()) FailNoUpgrade();
  OrvoConfigStore::Upgrade(packages);
  const Packages failed = FailedUpgrades(packages);
  if (!failed.empty()) {
    throw CommandFailed({Exit::kNo, "an upgrade has failed", Printable(Join(failed)),
                         "the system log says which program and why; mend it and run the upgrade again"});
  }
  session.PrintResult("upgraded " + Printable(Join(packages)),
                      JsonObject({{"upgraded", std::to_string(packages.size())}}));
  return Exit::kDone;
}

Run SetUpUpgradeRun(Arguments& arguments) {
  auto packages = std::make_shared<Packages>();
  arguments.Option("PACKAGE", *packages, "Packages to upgrade").Required();
  return [packages](Session& session) { return RunUpgrade(session, *packages); };
}

// Indexed by what GetUpgradeLibStatus returns.
struct UpgradeAnswer {
  Exit exit;
  const char* word;
};

const UpgradeAnswer kUpgradeAnswers[] = {
    {Exit::kNo, "failed"}, {Exit::kDone, "succeeded"}, {Exit::kNotFound, "unknown"}};

Exit ShowUpgradeStatus(Session& session, const std::string& library) {
  session.where = library;
  OpenStore();
  const UpgradeAnswer& answer = kUpgradeAnswers[OrvoConfigStore::GetUpgradeLibStatus(library)];
  if (answer.exit == Exit::kNotFound) {
    throw CommandFailed({answer.exit, "no run of this upgrade library is known", "", "the name is the library's own"});
  }
  session.PrintResult("the last run of " + Printable(library) + " " + answer.word,
                      JsonObject({{"library", JsonString(library)}, {"status", JsonString(answer.word)}}));
  return answer.exit;
}

Run SetUpUpgradeStatus(Arguments& arguments) {
  auto library = std::make_shared<std::string>();
  arguments.Option("LIB", *library, "The upgrade library's name").Required();
  return [library](Session& session) { return ShowUpgradeStatus(session, *library); };
}

Exit SetUpMemory(Session& session) {
  const HostLog log;
  try {
    OrvoConfigStore::SetupStoreRamDisk();
  } catch (const OrvoConfigStore::ConfigStoreException& error) {
    if (geteuid() == 0) throw;
    throw CommandFailed({Exit::kRefused, error.what(), "", "mounting takes root: run it as root"});
  }
  session.PrintResult("the store and its backup directory are in memory; \"csctl load --boot\" fills the store",
                      JsonObject({{"mounted", "true"}}));
  return Exit::kDone;
}

Run SetUpRamdisk(Arguments&) {
  return [](Session& session) { return SetUpMemory(session); };
}

}  // namespace

const std::vector<Command>& UpgradeCommands() {
  static const std::vector<Command> commands = {
      {"defaults", "Manage the default objects of packages", nullptr},
      {"defaults load", "Store the default objects that packages bring", SetUpDefaultsLoad, true},
      {"refresh", "Register the types of packages, have them upgraded, and load their defaults", SetUpRefresh},
      {"upgrade", "Run and ask about upgrades", nullptr},
      {"upgrade run", "Upgrade packages late, with the store up: run the programs that they bring for it",
       SetUpUpgradeRun},
      {"upgrade status", "Tell how an upgrade library's last run ended; exit 1 when it failed", SetUpUpgradeStatus},
      {"ramdisk", "Give the store and its backup directory a file system in memory each", SetUpRamdisk},
  };
  return commands;
}

}  // namespace csctl
