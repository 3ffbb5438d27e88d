// A handle across a fork, and handles in threads.

#include <mutex>
#include <set>
#include <thread>

#include "faults/host.h"

using namespace OrvoConfigStore;

namespace {

/// Where the child is forked: in a transaction of the parent, or not.
enum Where { OUTSIDE, INSIDE, ANYWHERE };

/// What a child does with the handle that it inherits.
const struct {
  const char* name;
  int (*act)(FaultHost& host, int n);
  Where where;
} kChildren[] = {
    {"ends", [](FaultHost&, int) { return 0; }, ANYWHERE},
    {"destroys it", [](FaultHost& host, int) { return host.Close(), 0; }, ANYWHERE},
    {"reads, which a transaction of the parent refuses",
     [](FaultHost& host, int) { return Thrown([&] { Parts()[0].read(host); }) == "" ? 1 : 0; }, INSIDE},
    {"writes", [](FaultHost& host, int n) { return Parts()[3].write(host, n), 0; }, OUTSIDE},
    {"cancels the parent's transaction",
     [](FaultHost& host, int) { return host.store->CancelTransaction() == 1 ? 1 : 0; }, INSIDE},
    {"commits the parent's transaction",
     [](FaultHost& host, int) { return Thrown([&] { host.store->CommitTransaction(); }) == "" ? 1 : 0; }, INSIDE},
};

TEST(Fork, LosesNothingAndDisturbsNobody) {
  FaultHost host;
  int written = 0;
  for (int n = 1; n <= Times(50); ++n) {
    const auto& child = kChildren[static_cast<size_t>(n) % std::size(kChildren)];
    const bool isInside = child.where == INSIDE || (child.where == ANYWHERE && n % 4 != 0);
    SCOPED_TRACE(std::string(child.name) + (isInside ? ", inside a transaction" : ""));
    if (isInside) {
      ASSERT_EQ(0, host.store->BeginTransaction());
    }
    Parts()[0].write(host, n);
    if (child.where == OUTSIDE) ++written;
    ASSERT_EQ(0, InChild([&] { return child.act(host, written); }));
    if (isInside) {
      ASSERT_EQ(0, host.store->CommitTransaction());
    }
    ASSERT_EQ(n, Parts()[0].read(host));
    ASSERT_EQ(written, Parts()[3].read(host));
  }
  EXPECT_TRUE(IsConsistentStore(HaldenLib::kStoreFile));
}

TEST(Threads, WithHandlesOfTheirOwnDoNotDisturbEachOther) {
  constexpr int kThreads = 4;
  const int rounds = static_cast<int>(Times(50));
  FaultHost host;
  host.Close();
  std::mutex mutex;
  std::set<std::string> identifiers;
  std::vector<std::string> failures;
  const auto work = [&](int who) {
    auto store = ConfigStore::GetStore("");
    const std::string name = "t" + std::to_string(who);
    for (int i = 1; i <= rounds; ++i) {
      const std::string identifier = GenerateInstanceId();
      const std::string failure = Thrown([&] {
        ConfigStoreTransaction transaction(store);
        store->Set(ConfigStore::CreateObject(FaultType("moving", name),
                                             R"({"name":")" + name + R"(","n":)" + std::to_string(i) + "}"),
                   {});
        if (i % 2 == 0) transaction.Commit();
      });
      const std::lock_guard<std::mutex> lock(mutex);
      identifiers.insert(identifier);
      if (!failure.empty()) failures.push_back(failure);
    }
  };
  std::vector<std::thread> threads;
  for (int who = 0; who < kThreads; ++who) threads.emplace_back(work, who);
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(std::vector<std::string>(), failures);
  EXPECT_EQ(static_cast<size_t>(kThreads * rounds), identifiers.size());
  host.Open();
  for (int who = 0; who < kThreads; ++who) {
    int n = 0;
    host.store->Get(FaultType("moving", "t" + std::to_string(who)))->GetValue("n", &n);
    EXPECT_EQ(rounds - rounds % 2, n) << "the last that was committed";
  }
}

}  // namespace
