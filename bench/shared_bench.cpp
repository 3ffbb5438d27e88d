/// Four reading processes and a writing one on one store, by the library and by
/// SQLite alone: how many reads and writes, and the slowest read.
///
/// The program starts itself anew for each process: SQLite must not be used
/// across a fork. BENCH_SECONDS sets how long each run takes, 5 by default.

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <sstream>
#include <stdexcept>
#include <thread>

#include "floor.h"
#include "run.h"
#include "sample.h"

namespace {

using Clock = std::chrono::steady_clock;
using bench::Side;

constexpr size_t kStored = 10000;
constexpr int kReaders = 4;

// What one process, or several together, have done.
struct Done {
  double count = 0;
  double worst = 0;  // nanoseconds
  double failures = 0;
};

double Seconds() {
  const char* const given = std::getenv("BENCH_SECONDS");
  return given == nullptr ? 5 : std::atof(given);
}

// Does `step`, which throws when it fails, again and again between two points in time.
template <class Step>
Done Repeat(Clock::time_point begin, Clock::time_point end, Step step) {
  Done done;
  std::this_thread::sleep_until(begin);
  for (Clock::time_point before = Clock::now(); before < end;) {
    try {
      step(static_cast<size_t>(done.count));
    } catch (const std::exception&) {
      done.failures += 1;
    }
    const Clock::time_point after = Clock::now();
    done.worst = std::max(done.worst, std::chrono::duration<double, std::nano>(after - before).count());
    done.count += 1;
    before = after;
  }
  return done;
}

Done WorkByStore(const std::string& root, bool isWriter, const std::vector<size_t>& order, Clock::time_point begin,
                 Clock::time_point end) {
  OrvoConfigStore::SetHostRoot(root);
  CSLogger::LogInit("");
  const auto store = bench::ConfigStore::GetStore("");
  if (isWriter) {
    const bench::ObjectList objects = bench::SampleObjects(kStored);
    return Repeat(begin, end, [&](size_t count) { store->Set(objects[order[count % kStored]], {}); });
  }
  std::vector<bench::ConfigStoreObjectId> ids;
  for (size_t index = 0; index < kStored; ++index) ids.push_back(bench::SampleId(index));
  return Repeat(begin, end, [&](size_t count) {
    if (store->Get(ids[order[count % kStored]]) == nullptr) throw std::runtime_error("missing");
  });
}

Done WorkByFloor(const std::string& file, bool isWriter, const std::vector<size_t>& order, Clock::time_point begin,
                 Clock::time_point end) {
  bench::Floor floor(file);
  const std::vector<bench::FloorRow> rows = bench::FloorRows(kStored);
  return Repeat(begin, end, [&](size_t count) {
    const bench::FloorRow& row = rows[order[count % kStored]];
    isWriter ? floor.Write(row) : floor.Read(row.instance, bench::SkipText);
  });
}

// One process: work store|floor read|write PLACE BEGIN, the last in nanoseconds.
int Work(char** arguments) {
  const bool isWriter = std::string(arguments[1]) == "write";
  const Clock::time_point begin{std::chrono::nanoseconds(std::atoll(arguments[3]))};
  const auto end = begin + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(Seconds()));
  std::vector<size_t> order = bench::RandomOrder(kStored);
  std::rotate(order.begin(), order.begin() + getpid() % static_cast<int>(kStored), order.end());
  const auto work = std::string(arguments[0]) == "store" ? WorkByStore : WorkByFloor;
  const Done done = work(arguments[2], isWriter, order, begin, end);
  std::cout << done.count << " " << done.worst << " " << done.failures << "\n";
  return 0;
}

// Starts one process and returns where its result is to be read.
FILE* Start(const char* side, const char* role, const std::string& place, Clock::time_point begin) {
  const std::string program = std::filesystem::read_symlink("/proc/self/exe");
  const std::string command = "'" + program + "' work " + side + " " + role + " '" + place + "' " +
                              std::to_string(std::chrono::nanoseconds(begin.time_since_epoch()).count());
  return popen(command.c_str(), "r");
}

Done Finish(FILE* process) {
  Done done;
  const bool isRead = fscanf(process, "%lf %lf %lf", &done.count, &done.worst, &done.failures) == 3;
  if (pclose(process) != 0 || !isRead) throw std::runtime_error("a process did not finish");
  return done;
}

void RunTogether(benchmark::State& state, const char* side, const std::string& place) {
  for (auto _ : state) {
    const Clock::time_point begin = Clock::now() + std::chrono::seconds(2);
    std::vector<FILE*> processes{Start(side, "write", place, begin)};
    for (int i = 0; i < kReaders; ++i) processes.push_back(Start(side, "read", place, begin));
    const Done written = Finish(processes.front());
    Done read;
    for (int i = 1; i <= kReaders; ++i) {
      const Done one = Finish(processes[static_cast<size_t>(i)]);
      read = {read.count + one.count, std::max(read.worst, one.worst), read.failures + one.failures};
    }
    state.SetIterationTime(Seconds() / read.count);
    state.counters["write_ns"] = 1e9 * Seconds() / written.count;
    state.counters["worst_ns"] = read.worst;
    state.counters["failures"] = read.failures + written.failures;
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 6 && std::string(argv[1]) == "work") return Work(argv + 2);
  const bench::SampleHost host(kStored);
  const std::string file = host.FileBeside("floor");
  const std::string root = host.FileBeside("");
  const bench::Floor floor(OrvoConfigStore::ResolveHostPath(bench::kStoreFile), file);
  const auto add = [](const char* name, const char* side, const std::string& place) {
    benchmark::RegisterBenchmark(name, [side, place](benchmark::State& state) { RunTogether(state, side, place); })
        ->Iterations(1)
        ->UseManualTime();
  };
  add("Four readers and a writer/store", "store", root);
  add("Four readers and a writer/bare", "floor", file);
  return bench::RunRegistered(argc, argv);
}
