/// The peak memory of reading, replacing, exporting and importing 100,000 instances: each case in a
/// child process, which reads its own peak (VmHWM).

#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <stdexcept>

#include "run.h"
#include "sample.h"

namespace {

constexpr size_t kInstances = 100000;

/// Bytes of resident memory.
struct Memory {
  double list = 0;    ///< of the caller's own list
  double beyond = 0;  ///< at most beside it, while the operation ran
};

// Returns a value of /proc/self/status in bytes.
double Status(const std::string& name) {
  std::ifstream status("/proc/self/status");
  for (std::string word; status >> word;) {
    double kibibytes = 0;
    if (word == name + ":" && status >> kibibytes) return kibibytes * 1024;
  }
  throw std::runtime_error("the kernel does not tell " + name);
}

// The peak begins anew at what is resident now.
void ResetPeak() {
  std::ofstream("/proc/self/clear_refs") << "5";
}

Memory MeasureSet() {
  bench::SampleHost host(0);
  const double before = Status("VmRSS");
  const bench::ObjectList objects = bench::SampleObjects(kInstances);
  ResetPeak();
  const double withList = Status("VmRSS");
  host->SetInstances(objects, {});
  return {withList - before, Status("VmHWM") - withList};
}

// Stores the instances from a child, so that no memory of the writing is left to be used again.
void FillByChild() {
  if (const pid_t writer = fork(); writer != 0) {
    waitpid(writer, nullptr, 0);
  } else {
    bench::ConfigStore::GetStore("")->SetInstances(bench::SampleObjects(kInstances), {});
    _exit(0);
  }
}

// Looks at all instances one after the other and keeps none.
Memory MeasureVisit() {
  bench::SampleHost host(0);
  FillByChild();
  ResetPeak();
  const double before = Status("VmRSS");
  size_t count = 0;
  const auto filter = std::make_shared<OrvoConfigStore::FilterSpecObject>(bench::SampleType());
  OrvoConfigStore::VisitInstances(host.Store(), filter, [&count](const auto&) { ++count; });
  if (count != kInstances) throw std::runtime_error("instances are missing");
  return {0, Status("VmHWM") - before};
}

Memory MeasureGet() {
  bench::SampleHost host(0);
  FillByChild();
  ResetPeak();
  const double before = Status("VmRSS");
  const bench::ObjectList objects =
      host->GetInstances(std::make_shared<OrvoConfigStore::FilterSpecObject>(bench::SampleType()));
  if (objects.size() != kInstances) throw std::runtime_error("instances are missing");
  const double list = Status("VmRSS") - before;
  return {list, Status("VmHWM") - before - list};
}

// Into a sink that keeps nothing: the document itself is not in memory.
Memory MeasureExport() {
  const bench::SampleHost host(0);
  FillByChild();
  ResetPeak();
  const double before = Status("VmRSS");
  OrvoConfigStore::Export({}, [](std::string_view) {});
  return {0, Status("VmHWM") - before};
}

// The list is the document's text.
Memory MeasureImport() {
  const bench::SampleHost host(0);
  FillByChild();
  const double before = Status("VmRSS");
  const std::string document = OrvoConfigStore::Export();
  const double withText = before + static_cast<double>(document.size());
  ResetPeak();
  OrvoConfigStore::Import(document);
  return {static_cast<double>(document.size()), Status("VmHWM") - withText};
}

// Runs `measure` in a child and returns what it found.
Memory InChild(Memory (*measure)()) {
  int pipeEnds[2];
  if (pipe(pipeEnds) != 0) throw std::runtime_error("no pipe");
  const pid_t child = fork();
  if (child == 0) {
    const Memory found = measure();
    _exit(write(pipeEnds[1], &found, sizeof found) == sizeof found ? 0 : 1);
  }
  close(pipeEnds[1]);
  Memory found;
  const bool complete = child > 0 && read(pipeEnds[0], &found, sizeof found) == sizeof found;
  close(pipeEnds[0]);
  waitpid(child, nullptr, 0);
  if (!complete) throw std::runtime_error("the child did not finish");
  return found;
}

double JsonBytes() {
  double bytes = 0;
  for (size_t index = 0; index < kInstances; ++index) bytes += static_cast<double>(bench::SampleText(index).size());
  return bytes;
}

void RegisterMemory(const char* operation, Memory (*measure)()) {
  benchmark::RegisterBenchmark((operation + (" of " + std::to_string(kInstances)) + "/memory").c_str(),
                               [measure](benchmark::State& state) {
                                 Memory found;
                                 for (auto _ : state) found = InChild(measure);
                                 state.counters["list_bytes"] = found.list;
                                 state.counters["beyond_bytes"] = found.beyond;
                                 state.counters["json_bytes"] = JsonBytes();
                               })
      ->Iterations(1);
}

}  // namespace

int main(int argc, char** argv) {
  RegisterMemory("GetInstances", MeasureGet);
  RegisterMemory("VisitInstances", MeasureVisit);
  RegisterMemory("SetInstances", MeasureSet);
  RegisterMemory("Export", MeasureExport);
  RegisterMemory("Import", MeasureImport);
  return bench::RunRegistered(argc, argv);
}
