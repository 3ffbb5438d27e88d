#include "run.h"

#include <rapidjson/document.h>

#include <stdexcept>

#include "sample.h"

namespace bench {

namespace {

const char* NameOf(Side side) {
  switch (side) {
    case Side::Store:
      return "/store";
    case Side::Floor:
      return "/floor";
    default:
      return "/bare";
  }
}

}  // namespace

void Register(const std::string& workload, Side side, const std::function<void(size_t)>& step, size_t objects) {
  const auto run = [step, objects](benchmark::State& state) {
    size_t count = 0;
    for (auto _ : state) step(count++);
    state.counters["objects"] = static_cast<double>(objects);
  };
  benchmark::RegisterBenchmark((workload + NameOf(side)).c_str(), run)->UseRealTime();
}

int RunRegistered(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}

void ParseText(std::string_view text) {
  rapidjson::Document document;
  document.Parse(text.data(), text.size());
  if (!document.IsObject()) throw std::runtime_error("the row holds no object");
  benchmark::DoNotOptimize(document);
}

void SkipText(std::string_view text) {
  benchmark::DoNotOptimize(text);
}

std::vector<FloorRow> FloorRows(size_t count) {
  std::vector<FloorRow> rows;
  rows.reserve(count);
  for (size_t index = 0; index < count; ++index) rows.push_back({SampleId(index).instanceId, SampleText(index)});
  return rows;
}

}  // namespace bench
