#include <unordered_map>

#include "support/test_store.h"

using namespace OrvoConfigStore;

namespace {

// The values were computed apart from this code; ids are hashed across releases.
const std::pair<ConfigStoreObjectId, uint64_t> kHashes[] = {
    {{"", "", ""}, 0x12e45bc31e44e70},
    {{"a", "", ""}, 0x60e08c811198a0ee},
    {{"", "a", ""}, 0x6ba00b305ea6398e},
    {{"stack_settings", "ipstack", "netd"}, 0xf373ebf737d88c79},
    {{"user_account", "local", "accessd", "i1"}, 0x26371711af4270d9},
    {{"k\xc3\xa9", "g", "c"}, 0x8fb83f75a7e5286b},
};

TEST(ObjectId, HashesAreFixed) {
  for (const auto& [id, hash] : kHashes) EXPECT_EQ(hash, hashCsoId(id)) << id.toString();
}

TEST(ObjectId, EveryPartTellsTwoIdsApart) {
  std::unordered_map<ConfigStoreObjectId, int> ids;
  for (const ConfigStoreObjectId& id :
       {ConfigStoreObjectId("a", "b", "c"), ConfigStoreObjectId("a", "b", "c", "x"), ConfigStoreObjectId("x", "b", "c"),
        ConfigStoreObjectId("a", "x", "c"), ConfigStoreObjectId("a", "b", "x"), ConfigStoreObjectId("A", "b", "c")}) {
    ids[id] = 1;
  }
  EXPECT_EQ(6u, ids.size());
  EXPECT_EQ(1u, ids.count(ConfigStoreObjectId("a", "b", "c", "x")));
}

}  // namespace
