// Every request for memory is refused, one after the other: those of the library,
// of the language's runtime and of SQLite, which all come to malloc.

#include <cstddef>
#include <cstdlib>

#include "faults/every_place.h"

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

// A sanitizer brings a malloc of its own.
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

void Arm(long at, bool forGood) {
  shortage = {true, forGood, false, at, 0};
}
bool Disarm() {
  shortage.isOn = false;
  return shortage.hasStruck;
}

/// Whether memory is short for good, and whether from the opening of the store on.
class EveryAllocation : public testing::TestWithParam<std::tuple<bool, bool>> {
 protected:
  void SetUp() override {
    if (kIsSanitized) GTEST_SKIP() << "the sanitizer has a malloc of its own";
  }
};

TEST_P(EveryAllocation, IsAnswered) {
  const auto [forGood, reopens] = GetParam();
  FaultHost host;
  std::vector<Part> parts = Parts();
  parts.insert(parts.end(), std::begin(kReads), std::end(kReads));
  for (const Part& part : parts) {
    if (part.step == 1) part.write(host, 1);
    const auto arm = [forGood = forGood](long k) { Arm(k, forGood); };
    const long places = FailEveryPlace(host, part, reopens, arm, Disarm);
    std::printf("%s: %ld places\n", part.name, places);
    EXPECT_LT(0, places) << part.name;
    if (HasFailure()) return;
  }
  EXPECT_TRUE(IsConsistentStore(GetStorePath()));
}

INSTANTIATE_TEST_SUITE_P(Kinds, EveryAllocation, testing::Combine(testing::Bool(), testing::Bool()),
                         [](const auto& test) {
                           return std::string(std::get<0>(test.param) ? "ForGood" : "Once") +
                                  (std::get<1>(test.param) ? "AndReopened" : "");
                         });

class EveryAllocationOfALoad : public EveryAllocation {};

TEST_P(EveryAllocationOfALoad, LeavesTheStagedConfigurationWhole) {
  FaultHost host;
  host.root.Write("/etc/halden/features", "ConfigStoreRestore=off\nConfigStoreUpgrade=off\n");
  int applied = 0, staged = 1;
  StageAndApply(host, staged);
  for (long at = 0, struck = 1; struck != 0; ++at) {
    Arm(at, std::get<0>(GetParam()));
    bool isDone = true;
    try {
      LoadStore(false);
    } catch (const std::exception&) {
      isDone = false;
    }
    struck = Disarm() || at == 0 ? 1 : 0;
    CSLogger::LogExit();  // a load that failed has left its log open
    applied = AppliedGeneration();
    ASSERT_TRUE(applied == staged || (!isDone && applied == staged - 1)) << "place " << at << ": " << applied;
    if (struck == 0) std::printf("%ld places\n", at - 1);
    if (applied == staged) StageAndApply(host, ++staged);
  }
}

INSTANTIATE_TEST_SUITE_P(Kinds, EveryAllocationOfALoad, testing::Combine(testing::Bool(), testing::Values(false)),
                         [](const auto& test) { return std::get<0>(test.param) ? "ForGood" : "Once"; });

}  // namespace
