#include <chrono>
#include <thread>

#include "support/test_store.h"

using namespace OrvoConfigStore;

namespace {

// A schema file of one member "n", at most `maximum`, which is user or vital data.
std::string Counter(int maximum, bool isVital) {
  return R"({"component":"counted","group":"g","key":"k","version":"1.0","schema":{"type":"object","properties":{)"
         R"("n":{"type":"integer","maximum":)" +
         std::to_string(maximum) + (isVital ? R"(,"vital":true)" : "") + "}}}}";
}

TEST(ChangedSchemas, AreSeenByTheNextWrite) {
  const ConfigStoreObjectId id("k", "g", "counted");
  TestStore store({Counter(1, false)});
  std::this_thread::sleep_for(std::chrono::milliseconds(30));  // from here on the schema is kept
  for (int i = 0; i < 2; ++i) store.Set(id, R"({"n":1})");
  EXPECT_EQ(R"(- {"n":1} - - - 1)", store.Layers("k"));
  EXPECT_EQ(0, InChild([&] { return store.Register(Counter(5, true)), 0; }));
  store.Set(id, R"({"n":3})");
  EXPECT_EQ(R"(- - {"n":3} - - 1)", store.Layers("k"));
  EXPECT_EQ(0, InChild([&] { return store.Register(Counter(0, false)), 0; }));
  EXPECT_NE("", Thrown([&] { store.Set(id, R"({"n":1})"); }));
}

}  // namespace
