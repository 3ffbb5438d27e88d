#pragma once

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

#include "cli/program.h"
#include "support/temp_root.h"

/// Hosts for the tests of the tool, and how a run of it is judged.

inline const std::string kExamples = CONFIGSTORE_EXAMPLES;
inline const std::string kNetd = "netd/ipstack/stack_settings", kUser = "accessd/local/user_account";

inline std::string Schema(const std::string& package, const std::string& type) {
  return kExamples + "/components/" + package + "/schema/" + type + ".json";
}
inline std::string Object(const std::string& name) {
  return kExamples + "/objects/" + name + ".json";
}

/// What a run must do. It speaks on one stream alone: on standard output when
/// it succeeds, on standard error when it does not; `shown` are parts of that.
struct Case {
  const char* name;
  std::vector<std::string> arguments;
  std::string input;
  int exit;
  std::vector<std::string> shown;
};

inline void PrintTo(const Case& row, std::ostream* out) {
  *out << row.name;
}
inline std::string CaseName(const testing::TestParamInfo<Case>& info) {
  return info.param.name;
}

inline void Expect(const Case& row, const Outcome& outcome) {
  EXPECT_EQ(row.exit, outcome.exit);
  const std::string& speaking = row.exit == 0 ? outcome.out : outcome.err;
  EXPECT_EQ("", row.exit == 0 ? outcome.err : outcome.out);
  if (row.shown.empty()) {
    EXPECT_EQ("", speaking);
  }
  for (const std::string& part : row.shown) {
    EXPECT_NE(std::string::npos, speaking.find(part)) << part << "\nin\n" << speaking;
  }
}

/// A host of its own, without a store.
class EmptyHost : public testing::TestWithParam<Case> {
 protected:
  Outcome Run(const std::vector<std::string>& arguments, const std::string& input = "") {
    return RunCsctl(root_.Path(), arguments, input);
  }
  TempRoot root_;
};

/// A host with the example types, a singleton and an instance with a secret.
class StockedHost : public EmptyHost {
 protected:
  void SetUp() override {
    ASSERT_EQ(0, Run({"init"}).exit);
    ASSERT_EQ(0, Run({"schema", "add", Schema("netd", "stack_settings"), Schema("accessd", "user_account"),
                      Schema("clockd", "time_source")})
                     .exit);
    ASSERT_EQ(0, Run({"set", kNetd, "-f", Object("stack_settings")}).exit);
    ASSERT_EQ(0, Run({"set", kUser + "@dora", "-f", Object("user_account")}).exit);
  }
};
