// Another process writes, rolls back, loads and restores at random; whoever follows
// what the watcher reports knows the final state.

#include <sys/wait.h>

#include <map>
#include <random>

#include "lifecycle/test_host.h"

using namespace OrvoConfigStore;

namespace {

using Contents = std::map<std::string, std::string>;  // name of an object to its row

const ConfigStoreObjectId kType = UserAccount("");

std::string RowText(const ConfigStoreObjectId& id) {
  const std::optional<StoredRow> row = ReadStoredRow(id);
  if (!row) return "";
  return (row->confirmed ? "confirmed " : "unconfirmed ") + row->userValue.value_or("-") +
         row->vitalValue.value_or("-");
}

void WriteAFew(std::mt19937& random) {
  auto store = ConfigStore::GetStore("");
  EndAutoConf();
  ConfigStoreTransaction transaction(store);
  for (unsigned left = 1 + random() % 4; left > 0; --left) {
    const ConfigStoreObjectId id = UserAccount("u" + std::to_string(random() % 12));
    const std::string uid = std::to_string(random() % 4);
    if (uid == "3") {
      store->Delete(id);
    } else {
      store->Set(ConfigStore::CreateObject(id, R"({"login":"a","uid":)" + uid + R"(,"home_volume":"v"})"), {});
    }
  }
  if (random() % 4 != 0) transaction.Commit();
}

void DoAnything(std::mt19937& random) {
  const unsigned choice = random() % 16;
  if (choice < 2) return LoadStore(choice == 0);
  if (choice == 2) return static_cast<void>(backup(GetStorePath(), GetBackupPath()));
  if (choice == 3 && !FindBackup().empty()) return static_cast<void>(backup(GetBackupPath(), GetStorePath()));
  if (choice == 4) return SetBootStatus(kType, true);
  WriteAFew(random);
}

void Follow(ConfigWatcher& watcher, Contents& followed) {
  std::vector<ConfigChange> changes;
  Thrown([&] { changes = watcher.Poll(); });  // a store that is being copied may be unreadable for a moment
  for (const ConfigChange& change : changes) {
    std::string row = "changing";  // one that cannot be read is reported again
    Thrown([&] { row = change.kind == ConfigChange::DELETED ? "" : RowText(change.id); });
    followed[change.id.toString()] = row;
    if (row.empty()) followed.erase(change.id.toString());
  }
}

TEST(Watching, NeverMissesTheFinalState) {
  for (unsigned seed = 1; seed < 7; ++seed) {
    const TestHost host;
    ConfigWatcher watcher({kType});
    Contents followed, found;
    const pid_t child = fork();
    if (child == 0) {
      std::mt19937 random(seed);
      for (int i = 0; i < 60; ++i) Thrown([&] { DoAnything(random); });  // busy: the next one then
      _exit(0);
    }
    int status = -1;
    while (waitpid(child, &status, WNOHANG) == 0) Follow(watcher, followed);
    Follow(watcher, followed);
    ASSERT_EQ(0, status);
    for (const StoredName& name : ListStoredObjects(kType.component, kType.group, kType.key)) {
      found[name.id.toString()] = RowText(name.id);
    }
    EXPECT_EQ(found, followed) << "seed " << seed;
    EXPECT_TRUE(watcher.Poll().empty());
  }
}

}  // namespace
