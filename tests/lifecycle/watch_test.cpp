// Another process writes, rolls back, loads and restores at random; whoever follows
// what the watcher reports knows the final state.

#include <gtest/gtest.h>
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
  std::string text = row->confirmed ? "confirmed" : "unconfirmed";
  for (const auto* layer : {&row->autoConfValue, &row->userValue, &row->vitalValue, &row->desiredValue}) {
    text += " " + layer->value_or("-");
  }
  return text;
}

Contents ReadContents() {
  Contents contents;
  for (const StoredName& name : ListStoredObjects(kType.component, kType.group, kType.key)) {
    contents[name.id.toString()] = RowText(name.id);
  }
  return contents;
}

/// What the writing process does, one after the other at random.
class Writer {
 public:
  explicit Writer(unsigned seed) : random_(seed) {}

  void DoAnything() {
    switch (Below(16)) {
      case 0:
        return LoadStore(true);
      case 1:
        return LoadStore(false);
      case 2:
        backup(GetStorePath(), GetBackupPath());
        return;
      case 3:
        if (!FindBackup().empty()) backup(GetBackupPath(), GetStorePath());
        return;
      case 4:
        return SetBootStatus(kType, true);
      default:
        return WriteAFew();
    }
  }

 private:
  unsigned Below(unsigned bound) { return std::uniform_int_distribution<unsigned>(0, bound - 1)(random_); }

  void WriteAFew() {
    auto store = ConfigStore::GetStore("");
    EndAutoConf();
    ConfigStoreTransaction transaction(store);
    for (unsigned left = 1 + Below(4); left > 0; --left) {
      const ConfigStoreObjectId id = UserAccount("u" + std::to_string(Below(12)));
      if (Below(3) == 0) {
        store->Delete(id);
      } else {
        const std::string uid = std::to_string(Below(3));
        store->Set(ConfigStore::CreateObject(id, R"({"login":"a","uid":)" + uid + R"(,"home_volume":"v"})"), {});
      }
    }
    if (Below(4) != 0) transaction.Commit();
  }

  std::mt19937 random_;
};

void Follow(ConfigWatcher& watcher, Contents& followed) {
  std::vector<ConfigChange> changes;
  try {
    changes = watcher.Poll();
  } catch (const ConfigStoreException&) {
    return;  // a store that is being copied may be unreadable for a moment
  }
  for (const ConfigChange& change : changes) {
    std::string& row = followed[change.id.toString()];
    try {
      row = change.kind == ConfigChange::DELETED ? "" : RowText(change.id);
    } catch (const ConfigStoreException&) {
      row = "changing";  // it is reported again
    }
    if (row.empty()) followed.erase(change.id.toString());
  }
}

class Watching : public testing::TestWithParam<unsigned> {
 protected:
  TestHost host_;
};

}  // namespace

TEST_P(Watching, NeverMissesTheFinalState) {
  ConfigWatcher watcher({kType});
  Contents followed;
  const pid_t child = fork();
  if (child == 0) {
    Writer writer(GetParam());
    for (int i = 0; i < 60; ++i) {
      try {
        writer.DoAnything();
      } catch (const std::exception&) {  // busy: the next one then
      }
    }
    _exit(0);
  }
  int status = -1;
  size_t polls = 0;
  for (; waitpid(child, &status, WNOHANG) == 0; ++polls) Follow(watcher, followed);
  Follow(watcher, followed);
  ASSERT_EQ(0, status);
  EXPECT_EQ(ReadContents(), followed) << "after " << polls << " polls";
  EXPECT_TRUE(watcher.Poll().empty());
}

INSTANTIATE_TEST_SUITE_P(Seeds, Watching, testing::Range(1u, 7u));
