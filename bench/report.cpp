/// Sums up what the benchmark programs measured: report TABLE.json RESULT.json...
/// prints tables in Markdown and writes the same figures to TABLE.json.

#include <rapidjson/document.h>
#include <rapidjson/istreamwrapper.h>
#include <rapidjson/ostreamwrapper.h>
#include <rapidjson/prettywriter.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <map>
#include <string>
#include <vector>

namespace {

/// The repetitions of one side of a workload, times in nanoseconds.
struct Runs {
  std::vector<double> elapsed;
  std::vector<double> cpu;
  double objects = 1;
  std::map<std::string, std::vector<double>> counters;  // what else was counted, by name
};

struct Workload {
  std::string name;
  std::map<std::string, Runs> sides;

  const Runs* Side(const std::string& side) const {
    const auto found = sides.find(side);
    return found == sides.end() ? nullptr : &found->second;
  }
};

/// Returns the value below which `share` of the values lie.
double Quantile(std::vector<double> values, double share) {
  std::sort(values.begin(), values.end());
  const double place = share * static_cast<double>(values.size() - 1);
  const auto below = static_cast<size_t>(place);
  const size_t above = std::min(below + 1, values.size() - 1);
  return values[below] + (values[above] - values[below]) * (place - static_cast<double>(below));
}

double Median(const std::vector<double>& values) {
  return Quantile(values, 0.5);
}

/// How far apart the middle half of the repetitions lies, as a share of the median.
double Spread(const Runs& runs) {
  return (Quantile(runs.elapsed, 0.75) - Quantile(runs.elapsed, 0.25)) / Median(runs.elapsed);
}

double Ratio(const Runs& of, const Runs& to, std::vector<double> Runs::*times) {
  return Median(of.*times) / Median(to.*times);
}

// Results

Workload& Named(std::vector<Workload>& workloads, const std::string& name) {
  for (Workload& workload : workloads) {
    if (workload.name == name) return workload;
  }
  workloads.push_back({name, {}});
  return workloads.back();
}

/// Takes one repetition, "WORKLOAD/SIDE" or "WORKLOAD/SIDE/real_time".
void Take(const rapidjson::Value& run, std::vector<Workload>& workloads) {
  if (run["run_type"] != "iteration" || run.HasMember("error_occurred")) return;
  const std::string name = run["run_name"].GetString();
  const size_t slash = name.find('/');
  const std::string side = name.substr(slash + 1, name.find('/', slash + 1) - slash - 1);
  Runs& runs = Named(workloads, name.substr(0, slash)).sides[side];
  runs.elapsed.push_back(run["real_time"].GetDouble());
  runs.cpu.push_back(run["cpu_time"].GetDouble());
  if (run.HasMember("objects")) runs.objects = run["objects"].GetDouble();
  for (const char* counter : {"list_bytes", "beyond_bytes", "json_bytes", "write_ns", "worst_ns", "failures"}) {
    if (run.HasMember(counter)) runs.counters[counter].push_back(run[counter].GetDouble());
  }
}

/// Takes the repetitions of a file, workloads in the order in which they were
/// registered: the file has them as they were run.
bool ReadResult(const char* path, std::vector<Workload>& workloads) {
  std::ifstream file(path);
  rapidjson::IStreamWrapper stream(file);
  rapidjson::Document result;
  result.ParseStream<rapidjson::kParseNanAndInfFlag>(stream);
  if (!result.IsObject() || !result.HasMember("benchmarks")) return false;
  rapidjson::Value& runs = result["benchmarks"];
  std::stable_sort(runs.Begin(), runs.End(), [](const rapidjson::Value& a, const rapidjson::Value& b) {
    return a["family_index"].GetInt() < b["family_index"].GetInt();
  });
  for (const rapidjson::Value& run : runs.GetArray()) Take(run, workloads);
  return true;
}

// Tables

std::string Format(const char* format, double value) {
  char text[32];
  snprintf(text, sizeof text, format, value);
  return text;
}

std::string Time(double nanoseconds) {
  if (nanoseconds < 1e5) return Format("%.2f us", nanoseconds / 1e3);
  return nanoseconds < 1e9 ? Format("%.2f ms", nanoseconds / 1e6) : Format("%.2f s", nanoseconds / 1e9);
}

std::string Percent(double share) {
  return Format("%.0f %%", 100 * share);
}

using Row = std::vector<std::string>;

/// Prints the cells of a line, the first one to the left, the others to the right.
void PrintLine(const Row& cells, const std::vector<size_t>& widths, char filler) {
  for (size_t column = 0; column < cells.size(); ++column) {
    const std::string filling(widths[column] - cells[column].size(), filler);
    std::cout << "| " << (column == 0 ? cells[column] + filling : filling + cells[column]) << " ";
  }
  std::cout << "|\n";
}

/// Prints rows of equal length in columns; the first row is the heading. A
/// table without other rows is left out.
void PrintTable(const std::vector<Row>& rows) {
  if (rows.size() == 1) return;
  std::vector<size_t> widths(rows.front().size());
  for (const Row& row : rows) {
    for (size_t column = 0; column < row.size(); ++column)
      widths[column] = std::max(widths[column], row[column].size());
  }
  Row alignments(widths.size(), ":");
  alignments.front() = "-";
  for (const Row& row : rows) {
    PrintLine(row, widths, ' ');
    if (&row == &rows.front()) PrintLine(alignments, widths, '-');
  }
  std::cout << "\n";
}

/// What the library's time, as a multiple of the floor's, is to be at most, and
/// what it is hoped to be.
struct Goal {
  const char* workload;
  double reach;
  double stretch;
};

const Goal kGoals[] = {
    {"Get, the same object, no cache", 1.6, 1.4},
    {"Get, the same object", 0.7, 0.6},
    {"Get, a random one of 10000", 1.5, 1.25},
    {"Set", 1.4, 1.2},
    {"Set on a disk", 1.15, 1.05},
    {"Validation of an object", 1.0, 0.25},
    {"Validation of 50 nested instances", 0.6, 0.25},
    {"SetInstances of 1000", 1.5, 1.3},
    {"GetInstances of 1000", 3.2, 2.9},
    {"GetInstances of 100000", 3.2, 2.9},
    {"Open, Get, close", 1.4, 1.2},
    {"Open, Get, close as a process", 1.15, 1.05},
    {"Update of one field", 2.0, 1.5},
    {"csctl get", 2.0, 1.3},
    // Rates of 0.65 (0.8) and 0.75 (0.9) of the floor's, and the slowest read.
    {"Read, one of four beside a writer", 1 / 0.65, 1 / 0.8},
    {"Write, beside four readers", 1 / 0.75, 1 / 0.9},
    {"The slowest read beside a writer", 2.0, 2.0},
};

const Goal* GoalOf(const std::string& workload) {
  for (const Goal& goal : kGoals) {
    if (workload == goal.workload) return &goal;
  }
  return nullptr;
}

/// Workloads of which the smaller one has a tenth of the objects of the larger, and
/// how many times its time that is to take at most.
struct Growth {
  const char* small;
  const char* large;
  const char* reach;
};

const Growth kGrowths[] = {
    {"GetInstances of 1000", "GetInstances of 10000", "linear"},
    {"GetInstances of 10000", "GetInstances of 100000", "linear"},
    {"SetInstances of 1000", "SetInstances of 10000", "11"},
    {"SetInstances of 10000", "SetInstances of 100000", "linear"},
    {"Merge of two layers of 1000 instances", "Merge of two layers of 10000 instances", "linear"},
};

/// The processor times say nothing of work that other processes have done.
bool HasOwnTime(const Runs& runs) {
  return Median(runs.cpu) > Median(runs.elapsed) / 2;
}

Row TimesOf(const std::string& name, const Runs& store, const Runs& floor, const Runs* parsing) {
  const bool hasTimes = HasOwnTime(store) && HasOwnTime(floor);
  Row row = {name,
             Time(Median(store.elapsed)),
             Percent(Spread(store)),
             Time(Median(floor.elapsed)),
             Percent(Spread(floor)),
             Format("%.2f", Ratio(store, floor, &Runs::elapsed)),
             hasTimes ? Format("%.2f", Ratio(store, floor, &Runs::cpu)) : ""};
  const Goal* const goal = GoalOf(name);
  row.push_back(goal == nullptr ? "" : Format("%.2f", goal->reach));
  row.push_back(goal == nullptr ? "" : Format("%.2f", goal->stretch));
  row.push_back(parsing == nullptr ? "" : Format("%.2f", Ratio(store, *parsing, &Runs::elapsed)));
  return row;
}

/// Takes apart what four readers and a writer have counted.
void AddShared(std::vector<Workload>& workloads) {
  const std::vector<std::pair<const char*, const char*>> parts = {{"Write, beside four readers", "write_ns"},
                                                                  {"The slowest read beside a writer", "worst_ns"}};
  Workload read{"Read, one of four beside a writer", {}};
  std::vector<Workload> others;
  for (const auto& [name, counter] : parts) others.push_back({name, {}});
  for (Workload& workload : workloads) {
    if (workload.name != "Four readers and a writer") continue;
    for (auto& [side, runs] : workload.sides) {
      for (size_t i = 0; i < parts.size(); ++i) {
        others[i].sides[side].elapsed = others[i].sides[side].cpu = runs.counters.at(parts[i].second);
      }
      read.sides[side] = runs;
      std::cout << "Failed operations of four readers and a writer, " << side << ": "
                << Median(runs.counters.at("failures")) << "\n";
    }
    workload.sides.clear();
  }
  if (read.sides.empty()) return;
  workloads.push_back(std::move(read));
  for (Workload& workload : others) workloads.push_back(std::move(workload));
}

/// What a workload is compared with: SQLite alone where that was measured, else
/// the floor that parses as well.
const Runs* FloorOf(const Workload& workload) {
  const Runs* const bare = workload.Side("bare");
  return bare != nullptr ? bare : workload.Side("floor");
}

void PrintTimes(const std::vector<Workload>& workloads) {
  std::vector<Row> rows = {{"workload", "library", "spread", "floor", "spread", "ratio", "CPU ratio", "must reach",
                            "stretch", "to a floor that parses"}};
  for (const Workload& workload : workloads) {
    const Runs* const store = workload.Side("store");
    const Runs* const floor = FloorOf(workload);
    const Runs* const parsing = workload.Side("floor");
    if (store != nullptr && floor != nullptr) {
      rows.push_back(TimesOf(workload.name, *store, *floor, floor == parsing ? nullptr : parsing));
    }
  }
  PrintTable(rows);
}

const Workload* Find(const std::vector<Workload>& workloads, const char* name) {
  const auto found = std::find_if(workloads.begin(), workloads.end(),
                                  [name](const Workload& workload) { return workload.name == name; });
  return found == workloads.end() ? nullptr : &*found;
}

/// Prints how the time grows with ten times the objects, the floor's as well.
void PrintGrowth(const std::vector<Workload>& workloads) {
  std::vector<Row> rows = {{"ten times the objects", "by object", "library", "floor", "must reach"}};
  for (const Growth& growth : kGrowths) {
    const Workload* const small = Find(workloads, growth.small);
    const Workload* const large = Find(workloads, growth.large);
    if (small == nullptr || large == nullptr) continue;
    const Runs& store = *large->Side("store");
    rows.push_back({large->name, Time(Median(store.elapsed) / store.objects),
                    Format("%.1f", Ratio(store, *small->Side("store"), &Runs::elapsed)),
                    Format("%.1f", Ratio(*FloorOf(*large), *FloorOf(*small), &Runs::elapsed)), growth.reach});
  }
  PrintTable(rows);
}

/// Of the text for a list, beyond it for a visitor.
Row MemoryGoalOf(const std::string& workload) {
  if (workload == "GetInstances of 100000") return {"6 times", "5 times"};
  if (workload == "VisitInstances of 100000") return {"3 MB", ""};
  return {"", ""};
}

void PrintMemory(const std::vector<Workload>& workloads) {
  constexpr double kMebibyte = 1 << 20;
  std::vector<Row> rows = {{"memory", "the list", "beyond it", "both, times the JSON text", "must reach", "stretch"}};
  for (const Workload& workload : workloads) {
    const Runs* const memory = workload.Side("memory");
    if (memory == nullptr) continue;
    const double list = Median(memory->counters.at("list_bytes"));
    const double beyond = Median(memory->counters.at("beyond_bytes"));
    const Row goal = MemoryGoalOf(workload.name);
    rows.push_back({workload.name, Format("%.0f MiB", list / kMebibyte), Format("%.1f MiB", beyond / kMebibyte),
                    Format("%.1f", (list + beyond) / Median(memory->counters.at("json_bytes"))), goal[0], goal[1]});
  }
  PrintTable(rows);
}

template <class Json>
void WriteRatios(const Workload& workload, Json& json) {
  const auto put = [&](const char* name, double value) {
    json.Key(name);
    json.Double(value);
  };
  if (const Runs* const floor = FloorOf(workload)) {
    put("ratio", Ratio(*workload.Side("store"), *floor, &Runs::elapsed));
    put("cpu_ratio", Ratio(*workload.Side("store"), *floor, &Runs::cpu));
  }
  if (const Goal* const goal = GoalOf(workload.name)) {
    put("must_reach", goal->reach);
    put("stretch", goal->stretch);
  }
}

bool WriteFigures(const char* path, const std::vector<Workload>& workloads) {
  std::ofstream file(path);
  rapidjson::OStreamWrapper stream(file);
  rapidjson::PrettyWriter<rapidjson::OStreamWrapper> json(stream);
  const auto put = [&](const char* name, double value) {
    json.Key(name);
    json.Double(value);
  };
  json.StartArray();
  for (const Workload& workload : workloads) {
    for (const auto& [side, runs] : workload.sides) {
      json.StartObject();
      json.Key("workload");
      json.String(workload.name.c_str());
      json.Key("side");
      json.String(side.c_str());
      put("repetitions", static_cast<double>(runs.elapsed.size()));
      put("median_ns", Median(runs.elapsed));
      put("median_cpu_ns", Median(runs.cpu));
      put("spread", Spread(runs));
      if (side == "store") WriteRatios(workload, json);
      for (const auto& [counter, values] : runs.counters) put(counter.c_str(), Median(values));
      json.EndObject();
    }
  }
  json.EndArray();
  file << "\n";
  return static_cast<bool>(file.flush());
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) {
    std::cerr << "usage: report TABLE.json RESULT.json...\n";
    return 2;
  }
  std::vector<Workload> workloads;
  for (int i = 2; i < argc; ++i) {
    if (ReadResult(argv[i], workloads)) continue;
    std::cerr << argv[i] << ": no result of a benchmark program\n";
    return 1;
  }
  AddShared(workloads);
  PrintTimes(workloads);
  PrintGrowth(workloads);
  PrintMemory(workloads);
  return WriteFigures(argv[1], workloads) ? 0 : 1;
}
