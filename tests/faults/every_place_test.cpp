// Everything that an operation needs fails, one place after the other: operations on
// the disk, and requests for memory. Whoever calls gets an answer each time, what is
// stored agrees with it, and the same handle goes on working.

#include <cstdlib>

#include "faults/fault_disk.h"
#include "faults/host.h"

namespace {

/// Plain data without a constructor: malloc is called before any could run.
struct Shortage {
  bool isOn;
  bool forGood;
  bool hasStruck;
  long at;
  long count;
};
thread_local Shortage shortage;

[[maybe_unused]] bool IsRefused() {
  Shortage& now = shortage;
  if (!now.isOn) return false;
  ++now.count;
  const bool strikes = now.count == now.at || (now.forGood && now.count > now.at);
  now.hasStruck = now.hasStruck || strikes;
  return strikes;
}

}  // namespace

// The requests of the library, of the language's run-time and of SQLite all come to
// malloc. A sanitizer brings one of its own.
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
extern "C" {
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* memory, size_t size);
void* malloc(size_t size) {
  return IsRefused() ? nullptr : __libc_malloc(size);
}
void* calloc(size_t count, size_t size) {
  return IsRefused() ? nullptr : __libc_calloc(count, size);
}
void* realloc(void* memory, size_t size) {
  return IsRefused() ? nullptr : __libc_realloc(memory, size);
}
}
#endif

using namespace OrvoConfigStore;

namespace {

/// What fails, the kth time that it is asked for; with `forGood` ever after. Ending
/// that tells whether it has failed.
struct Fault {
  const char* name;
  void (*arm)(long k, bool forGood);
  bool (*disarm)();
};

template <FaultDisk::Kind kKind>
void FailDisk(long k, bool forGood) {
  FaultDisk::Instance().FailAt(k, kKind, forGood);
}
bool HealDisk() {
  return FaultDisk::Instance().Heal();
}
void FailMemory(long k, bool forGood) {
  shortage = {true, forGood, false, k, 0};
}
bool HealMemory() {
  shortage.isOn = false;
  return shortage.hasStruck;
}

const Fault kFaults[] = {{"IoError", FailDisk<FaultDisk::IO_ERROR>, HealDisk},
                         {"FullDisk", FailDisk<FaultDisk::FULL>, HealDisk},
                         {"Memory", FailMemory, HealMemory}};
const Fault& kMemory = kFaults[2];

int ReadSingle(FaultHost& host) {
  return Parts()[0].read(host);
}

/// What reads leaves everything as it is.
const Part kReads[] = {
    {"Get", [](FaultHost& host, int) { host.store->Get(FaultType("single")); }, ReadSingle, false, 0},
    {"GetInstances",
     [](FaultHost& host, int) { host.store->GetInstances(std::make_shared<FilterSpecObject>(FaultType("set"))); },
     ReadSingle, false, 0},
    {"Export", [](FaultHost&, int) { Export(); }, ReadSingle, false, 0},
    {"Validate",
     [](FaultHost&, int) {
       ValidateJsonStr(R"({"type": "object", "properties": {"a": {"type": "string", "pattern": "[a-c]+x?"}}})",
                       R"({"a": "abd"})", {});
     },
     ReadSingle, false, 0},
};

class EveryPlace : public testing::TestWithParam<std::tuple<const Fault*, bool, bool>> {
 protected:
  void SetUp() override {
    if (kIsSanitized && fault_.arm == FailMemory) GTEST_SKIP() << "the sanitizer has a malloc of its own";
  }

  void Arm(long k) const { fault_.arm(k, std::get<1>(GetParam())); }

  /// Does a part until nothing it needs fails any more; returns the number of places.
  long FailAll(FaultHost& host, const Part& part) const {
    const bool reopens = std::get<2>(GetParam());
    host.Open();
    for (long k = 1, stored = part.read(host);; ++k) {
      if (reopens) host.Close();
      std::string answer;
      Arm(k);
      try {
        if (reopens) host.Open();
        if (host.store != nullptr) part.write(host, static_cast<int>(stored) + part.step);
        if (host.store == nullptr) answer = "no store";
      } catch (const std::exception& error) {
        answer = error.what();
        if (answer.empty()) answer = "(no words)";
      }
      const bool hasStruck = fault_.disarm();
      if (host.store == nullptr) host.Open();
      const int found = part.read(host);
      const bool isNew = answer.empty() || (part.mayFailWhenDone && found == stored + part.step);
      EXPECT_EQ(isNew ? stored + part.step : stored, found) << part.name << ", place " << k << ": " << answer;
      EXPECT_NE("(no words)", answer);
      EXPECT_TRUE(hasStruck || answer.empty()) << answer;
      if (!hasStruck || HasFailure()) return k - 1;
      stored = found;
    }
  }

  const Fault& fault_ = *std::get<0>(GetParam());
};

std::string NameOf(const testing::TestParamInfo<EveryPlace::ParamType>& test) {
  return std::get<0>(test.param)->name + std::string(std::get<1>(test.param) ? "ForGood" : "Once") +
         (std::get<2>(test.param) ? "AndReopened" : "");
}

TEST_P(EveryPlace, IsAnswered) {
  FaultHost host;
  std::vector<Part> parts = Parts();
  parts.insert(parts.end(), std::begin(kReads), std::end(kReads));
  for (const Part& part : parts) {
    if (part.step == 1) part.write(host, 1);
    const long places = FailAll(host, part);
    std::printf("%s: %ld places\n", part.name, places);
    EXPECT_LE(part.step, places) << part.name;
    if (HasFailure()) return;
  }
  EXPECT_TRUE(IsConsistentStore(GetStorePath()));
}

class EveryPlaceOfALoad : public EveryPlace {};

TEST_P(EveryPlaceOfALoad, LeavesTheStagedConfigurationWhole) {
  FaultHost host;
  host.root.Write("/etc/halden/features", "ConfigStoreRestore=off\nConfigStoreUpgrade=off\n");
  int staged = 1;
  StageAndApply(host, staged);
  bool hasStruck = true;
  for (long k = 0; hasStruck; ++k) {
    Arm(k);
    bool isDone = true;
    try {
      LoadStore(false);
    } catch (const std::exception&) {
      isDone = false;
    }
    hasStruck = fault_.disarm() || k == 0;
    CSLogger::LogExit();  // a load that failed has left its log open
    const int applied = AppliedGeneration();
    ASSERT_TRUE(applied == staged || (!isDone && applied == staged - 1)) << "place " << k << ": " << applied;
    if (!hasStruck) std::printf("%ld places\n", k - 1);
    if (applied == staged) StageAndApply(host, ++staged);
  }
}

INSTANTIATE_TEST_SUITE_P(All, EveryPlace,
                         testing::Combine(testing::Values(&kFaults[0], &kFaults[1], &kMemory), testing::Bool(),
                                          testing::Bool()),
                         NameOf);
INSTANTIATE_TEST_SUITE_P(All, EveryPlaceOfALoad,
                         testing::Combine(testing::Values(&kFaults[0], &kFaults[1], &kMemory), testing::Bool(),
                                          testing::Values(false)),
                         NameOf);

}  // namespace
