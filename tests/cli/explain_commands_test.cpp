#include <gtest/gtest.h>

#include "cli/host.h"

// clang-format off
const Case kExplainCases[] = {
    {"Explain", {"explain", kNetd}, "", 0, {"\n/mtu: 1500  (user)\n    default of the type: 1500\n",
     "/link/eth0/name: \"eth0\"  (user)\n    hidden: \"eth0\""}},
    {"ExplainField", {"explain", kNetd + "#/link/eth0/bus_path"}, "", 0,
     {"/link/eth0/bus_path: \"0000:03:00.0\"  (vital)"}},
    {"ExplainInJson", {"explain", kNetd + "#/mtu", "--json"}, "", 0,
     {"\"damaged\":[],\"fields\":[{\"field\":\"/mtu\",\"value\":1500,\"layer\":\"user\",\"shadowed\":[],"}},
    {"ExplainNoSuchField", {"explain", kNetd + "#/lin"}, "", 4, {"no such field", "csctl describe"}},
    {"ExplainNoSuchObject", {"explain", kUser + "@nobody"}, "", 4, {"no such object"}},
    {"GetWithOrigin", {"get", kNetd, "--origin"}, "", 0, {"\n}\n/hw_address ", "\n/mtu                      user"}},
    {"GetWithOriginInJson", {"get", kNetd, "--origin", "--json"}, "", 0, {"\"origin\":{\"/hw_address\":\"vital\","}},
};
// clang-format on

class Explaining : public StockedHost {};
TEST_P(Explaining, EndsAsDocumented) {
  Expect(GetParam(), Run(GetParam().arguments, GetParam().input));
}
INSTANTIATE_TEST_SUITE_P(Csctl, Explaining, testing::ValuesIn(kExplainCases), CaseName);
