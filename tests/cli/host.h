#pragma once

#include <gtest/gtest.h>

#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "cli/program.h"
#include "support/temp_root.h"

/// Hosts for the tests of the tool, and how a run of it is judged.

inline const std::string kExamples = CONFIGSTORE_EXAMPLES;
inline const std::string kNetd = "netd/ipstack/stack_settings", kUser = "accessd/local/user_account";
inline const std::string kClock = "clockd/sync/time_source";
inline const std::string kStoreFile = "/etc/halden/configstore/current-store-1";

/// Returns a text with what stands for its names: $net, $user and $clock are types, $objects and
/// $components folders of the examples.
inline std::string Filled(std::string text) {
  const std::pair<std::string, std::string> kNames[] = {{"$net", kNetd},
                                                        {"$user", kUser},
                                                        {"$clock", kClock},
                                                        {"$objects", kExamples + "/objects"},
                                                        {"$components", kExamples + "/components"}};
  for (const auto& [name, filled] : kNames) {
    for (size_t at = 0; (at = text.find(name, at)) != std::string::npos; at += filled.size()) {
      text.replace(at, name.size(), filled);
    }
  }
  return text;
}

/// A command line, its words parted by blanks, and what it must do. It speaks on one stream alone: on standard
/// output when it succeeds, on standard error when it does not; `shown` are parts of that.
struct Row {
  std::string line, input;
  int exit;
  std::vector<std::string> shown;
};

/// A host of its own, without a store.
class EmptyHost : public testing::Test {
 protected:
  Outcome Csctl(const std::string& line, const std::string& input = "") {
    std::istringstream words(Filled(line));
    return Run({std::istream_iterator<std::string>(words), {}}, input);
  }
  std::string Printed(const std::string& line, const std::string& input = "") { return Csctl(line, input).out; }
  /// Runs a row; one that is refused leaves the store as it was. Returns all that it has said.
  std::string Check(const Row& row) {
    SCOPED_TRACE("csctl " + row.line);
    const std::string before = root_.Read(kStoreFile);
    const Outcome outcome = Csctl(row.line, row.input);
    EXPECT_EQ(row.exit, outcome.exit);
    const std::string& speaking = row.exit == 0 ? outcome.out : outcome.err;
    EXPECT_EQ("", row.exit == 0 ? outcome.err : outcome.out);
    EXPECT_EQ(row.shown.empty(), speaking.empty()) << speaking;
    for (const std::string& part : row.shown) {
      EXPECT_NE(std::string::npos, speaking.find(Filled(part))) << part << "\nin\n" << speaking;
    }
    EXPECT_TRUE(row.exit <= 1 || before == root_.Read(kStoreFile));
    return speaking;
  }
  std::string Shows(const std::string& line, const std::vector<std::string>& shown) {
    return Check({line, "", 0, shown});
  }
  /// Runs each row on the host as it is now.
  void ExpectEach(const std::vector<Row>& rows) {
    const fs::path root = root_.Path(), kept = root_.Path() + ".kept";
    fs::copy(root, kept, fs::copy_options::recursive);
    for (const Row& row : rows) {
      fs::remove_all(root);
      fs::copy(kept, root, fs::copy_options::recursive);
      Check(row);
    }
    fs::remove_all(kept);
  }
  Outcome Run(const std::vector<std::string>& arguments, const std::string& input = "") {
    return RunCsctl(root_.Path(), arguments, input);
  }
  TempRoot root_;
};

/// A host with the example types, a singleton and an instance with a secret.
class StockedHost : public EmptyHost {
 protected:
  void SetUp() override {
    for (const char* line :
         {"init",
          "schema add $components/netd/schema/stack_settings.json $components/accessd/schema/user_account.json "
          "$components/clockd/schema/time_source.json",
          "set $net -f $objects/stack_settings.json", "set $user@dora -f $objects/user_account.json"}) {
      ASSERT_EQ(0, Csctl(line).exit) << line;
    }
  }
};
