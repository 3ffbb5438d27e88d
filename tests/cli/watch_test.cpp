// "csctl watch" beside a writer: what it prints, what it runs, and how it ends.

#include <atomic>
#include <thread>

#include "cli/host.h"
#include "configstore/config_store.h"

namespace {

using OrvoConfigStore::ConfigStore;

const std::string kChanged = "changed " + kNetd + "\n";

// A watch that ends by itself, with 0, and what it says.
// clang-format off
const struct { std::vector<std::string> options; Sink sink; std::string out, err; } kWatchCases[] = {
    {{"--count", "1"}, Sink::kFile, kChanged, ""},
    {{kNetd, "--count", "1", "--json"}, Sink::kFile, R"({"change":"changed","id":")" + kNetd + "\"}\n", ""},
    {{"accessd", "netd/ipstack", "--count", "1", "-q"}, Sink::kFile, "", ""},
    {{"--count", "1", "--exec", "echo $CSCTL_CHANGE for"}, Sink::kFile, kChanged + "changed for " + kNetd + "\n", ""},
    {{"--count", "1", "--exec", "exit 3;"}, Sink::kFile, kChanged,
     "csctl: " + kNetd + ": the command ended with 3\n"},
    {{"--exec", "kill -TERM $PPID;:"}, Sink::kFile, kChanged, ""},
    {{"--exec", "kill -INT $PPID;:"}, Sink::kFile, kChanged, ""},
    {{"--exec", "kill -TERM $PPID; exec sleep 1000 #"}, Sink::kFile, kChanged, ""},
    {{}, Sink::kClosedPipe, "", ""},
};
// clang-format on

class Watch : public StockedHost {
 protected:
  /// Runs a watch and writes another value every now and then until it has ended.
  Outcome RunBesideAWriter(std::vector<std::string> arguments, Sink sink) {
    arguments.insert(arguments.begin(), {"watch", "--interval", "5"});
    Outcome outcome;
    std::atomic<bool> ended{false};
    std::thread watch([&] {
      outcome = RunCsctl(root_.Path(), arguments, "", sink);
      ended = true;
    });
    for (int mtu = 1000; !ended; ++mtu) {
      const std::string partial = R"({"mtu":)" + std::to_string(1000 + mtu % 2) + "}";
      const auto object = ConfigStore::CreateObject({"stack_settings", "ipstack", "netd"}, partial);
      ConfigStore::GetStore("")->Update(object, {});
      std::this_thread::sleep_for(std::chrono::milliseconds(30));
    }
    watch.join();
    return outcome;
  }
};

}  // namespace

TEST_F(Watch, PrintsAndRunsAndEnds) {
  for (const auto& row : kWatchCases) {
    SCOPED_TRACE("row " + std::to_string(&row - kWatchCases));
    const Outcome outcome = RunBesideAWriter(row.options, row.sink);
    EXPECT_EQ(0, outcome.exit);
    EXPECT_EQ(row.out, outcome.out);
    EXPECT_EQ(row.err, outcome.err);
  }
}

TEST_F(Watch, RefusesWhatItWouldWaitForInVain) {
  ExpectEach({{"watch $net netd/ipstack/stack_setting", "", 4, {"netd/ipstack/stack_setting: ", "csctl types"}},
              {"watch netd/", "", 2, {"empty"}},
              {"watch --interval 0", "", 2, {"--interval"}}});
}
