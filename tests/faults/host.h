#pragma once

#include <memory>
#include <random>
#include <string>
#include <vector>

#include "configstore/configstore.h"
#include "support/temp_root.h"

/// What every fault test shares: a host with a store, the parts of it that are
/// written in ever higher generations, and the verdict on what is found of them.

/// How often a random test runs: `count` times FAULTS_TIMES (1 unless it is set),
/// a tenth of that under a sanitizer.
long Times(long count);
/// The source of what is random: seeded from FAULTS_SEED, else at random. The
/// seed is printed, and the same in the whole program.
std::mt19937 Random();

/// The types that the tests write, all of component "faults", group "f".
OrvoConfigStore::ConfigStoreObjectId FaultType(const std::string& key, const std::string& instanceId = "");

class FaultHost {
 public:
  FaultHost();

  void Open() { store = OrvoConfigStore::ConfigStore::GetStore(""); }
  void Close() { store.reset(); }
  void RegisterGeneration(int n) const;

  TempRoot root;
  std::shared_ptr<OrvoConfigStore::ConfigStore> store;
};

/// A part of what is stored. Its generation is written whole, or not at all.
struct Part {
  const char* name;
  void (*write)(FaultHost& host, int n);
  /// Returns the generation found: 0 for none, kTorn for what is no whole one.
  int (*read)(FaultHost& host);
  /// Whether a write that fails may have been done all the same.
  bool mayFailWhenDone = false;
};
constexpr int kTorn = -1;
extern const std::vector<Part> kParts;

/// The generations that must be found, and the part whose write has not been
/// answered: that may be of the next one.
struct Ledger {
  std::vector<int> acknowledged = std::vector<int>(kParts.size());
  size_t underWay = kParts.size();

  /// Reads every part with a handle of its own and takes over what is found.
  /// Returns what is not as it must be, "" when all is well.
  std::string Judge(FaultHost& host);
};
