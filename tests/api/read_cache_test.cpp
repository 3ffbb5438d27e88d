#include <sys/mman.h>

#include <atomic>
#include <cstdlib>
#include <random>

#include "support/test_store.h"

using namespace OrvoConfigStore;

namespace {

constexpr char kCounterSchema[] = R"({"component":"tests","group":"cache","key":"counter","version":"1.0",
  "noRestore":false,"schema":{"type":"array","instanceId":"name","items":{"type":"object","required":["name"],"properties":{
  "name":{"type":"string","instanceId":true},"count":{"type":"integer"}}}}})";

ConfigStoreObjectId Counter(int writer) {
  return {"counter", "cache", "tests", std::to_string(writer)};
}

int Stored(ConfigStore& store, int writer) {
  int count = -1;
  store.Get(Counter(writer))->GetValue("count", &count);
  return count;
}

void Put(ConfigStore& store, int writer, int count) {
  store.Set(ConfigStore::CreateObject(Counter(writer), "{\"count\":" + std::to_string(count) + "}"), {});
}

constexpr int kProcesses = 3;

// What the processes have committed, in memory that they share.
struct Acknowledged {
  std::atomic<int> count[kProcesses];
};

// Reads any object and writes its own, in random order; 0 when no read was older
// than the last commit before it, else which step failed.
int ReadAndWrite(int self, int operations, Acknowledged& acknowledged) {
  std::shared_ptr<ConfigStore> store = ConfigStore::GetStore("");
  std::mt19937 random(static_cast<unsigned>(self));
  int own = 0;
  for (int i = 0; i < operations; ++i) {
    const unsigned step = random() % 64;
    if (step == 0) {
      Put(*store, self, ++own);
      acknowledged.count[self] = own;
    } else if (step == 1) {
      store->BeginTransaction();
      Put(*store, self, own + 1);
      const bool seesOwn = Stored(*store, self) == own + 1;
      random() % 2 == 0 ? store->CancelTransaction() : (++own, store->CommitTransaction());
      acknowledged.count[self] = own;
      if (!seesOwn || Stored(*store, self) != own) return 1;
    } else {
      const int other = static_cast<int>(random() % kProcesses);
      const int before = acknowledged.count[other];
      if (Stored(*store, other) < before) return 2;
    }
  }
  return 0;
}

// CONFIGSTORE_CACHE_OPERATIONS sets how many operations each process does.
TEST(ReadCache, NoReadOfThreeProcessesIsOlderThanTheLastCommit) {
  const char* const asked = std::getenv("CONFIGSTORE_CACHE_OPERATIONS");
  const int operations = asked == nullptr ? 10000 : std::atoi(asked);
  TestStore host({kCounterSchema});
  for (int i = 0; i < kProcesses; ++i) Put(*host, i, 0);
  void* const memory = mmap(nullptr, sizeof(Acknowledged), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  ASSERT_NE(MAP_FAILED, memory);
  auto& acknowledged = *new (memory) Acknowledged{};
  std::vector<pid_t> processes;
  for (int i = 0; i < kProcesses; ++i) {
    processes.push_back(StartChild([=, &acknowledged] { return ReadAndWrite(i, operations, acknowledged); }));
  }
  for (const pid_t process : processes) EXPECT_EQ(0, ResultOf(process)) << "a stale read, or a failure";
  munmap(memory, sizeof(Acknowledged));
}

class WarmCache : public testing::Test {
 protected:
  WarmCache() {
    Put(*host_, 0, 1);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(1, Stored(*host_, 0));
  }
  TestStore host_{{kCounterSchema}};
};

TEST_F(WarmCache, HandsOutCopies) {
  host_->Get(Counter(0))->SetValue("count", 7);
  EXPECT_EQ(1, Stored(*host_, 0));
}

TEST_F(WarmCache, SeesEveryKindOfChange) {
  const std::shared_ptr<ConfigStore> other = ConfigStore::GetStore("");
  Put(*other, 0, 2);
  EXPECT_EQ(2, Stored(*host_, 0));
  Put(*host_, 0, 3);
  EXPECT_EQ(3, Stored(*host_, 0));
  Stored(*host_, 0);
  ASSERT_EQ(0, host_->BeginTransaction());
  host_->Delete(Counter(0));
  EXPECT_EQ(nullptr, host_->Get(Counter(0)));
  ASSERT_EQ(0, host_->CancelTransaction());
  EXPECT_EQ(3, Stored(*host_, 0));
  std::string schema = kCounterSchema;
  schema.replace(schema.find("1.0"), 3, "1.1");
  schema.replace(schema.find("\"integer\""), 9, "\"integer\",\"default\":5");
  host_.Register(schema);
  EXPECT_NE(std::string::npos, host_->Get(Counter(0))->GetIdMapStr().find("counter"));
  host_->Set(ConfigStore::CreateObject(Counter(0), "{}"), {});
  EXPECT_EQ(5, Stored(*host_, 0)) << "the default of the new schema";
}

TEST_F(WarmCache, IsRightInAForkedChildAndItsParent) {
  EXPECT_EQ(0, InChild([&] {
              const int inherited = Stored(*host_, 0);
              Put(*host_, 0, 2);
              return inherited == 1 && Stored(*host_, 0) == 2 ? 0 : 1;
            }));
  EXPECT_EQ(2, Stored(*host_, 0));
}

TEST_F(WarmCache, IsRightAfterTheStoreFileWasReplaced) {
  for (const char* suffix : {"", "-wal", "-shm"}) {
    fs::remove(host_.Root().Resolve(HaldenLib::kStoreFile) + suffix);
  }
  CreateDatabases();
  Put(*host_, 0, 9);
  EXPECT_EQ(9, Stored(*host_, 0));
}

TEST(VisitInstances, HandsOutWhatGetInstancesReturns) {
  TestStore host({kCounterSchema});
  for (int i = 0; i < 5; ++i) Put(*host, i, i % 2);
  const auto filter = std::make_shared<FilterSpecObject>(Counter(0));
  for (const char* instance : {"", "3", "none"}) {
    for (const char* pattern : {"{}", "{\"count\":1}", "{\"count\":2}"}) {
      const auto all = std::make_shared<FilterSpecObject>(ConfigStoreObjectId("counter", "cache", "tests", instance),
                                                          CreateDocumentFromString(pattern));
      std::string listed, visited;
      for (const auto& object : host->GetInstances(all)) listed += object->GetData();
      VisitInstances(host.store, all, [&](const auto& object) { visited += object->GetData(); });
      EXPECT_EQ(listed, visited);
    }
  }
}

}  // namespace
