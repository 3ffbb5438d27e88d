#pragma once

#include <random>

#include "support/test_store.h"

/// What every fault test shares: a host with a store, the parts of it that are
/// written in ever higher generations, and the verdict on what is found of them.

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kIsSanitized = true;
#else
constexpr bool kIsSanitized = false;
#endif

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
  int step = 1;  ///< 0 when it only reads
};
constexpr int kTorn = -1;
const std::vector<Part>& Parts();

/// Stages generation `n` of two objects and has the next load apply it.
void StageAndApply(FaultHost& host, int n);
/// Returns the generation of the user values of both objects: what was staged is
/// in force and no longer staged, or still staged, and the next load applies it.
/// kTorn for anything between.
int AppliedGeneration();

/// The generations that must be found, and the part whose write has not been
/// answered: that may be of the next one.
struct Ledger {
  std::vector<int> acknowledged = std::vector<int>(Parts().size());
  size_t underWay = Parts().size();

  /// Reads every part with a handle of its own and takes over what is found.
  /// Returns what is not as it must be, "" when all is well.
  std::string Judge(FaultHost& host);
};
