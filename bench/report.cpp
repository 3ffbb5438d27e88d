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
  std::map<std::string, double> bytes;  // of a memory measurement, by counter
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
  for (const char* counter : {"list_bytes", "beyond_bytes", "json_bytes"}) {
    if (run.HasMember(counter)) runs.bytes[counter] = run[counter].GetDouble();
  }
}

/// Takes the repetitions of a file, workloads in the order in which they were
/// registered: the file has them as they were run.
bool ReadResult(const char* path, std::vector<Workload>& workloads) {
  std::ifstream file(path);
  rapidjson::IStreamWrapper stream(file);
  rapidjson::Document result;
  result.ParseStream(stream);
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

void PrintTimes(const std::vector<Workload>& workloads) {
  std::vector<Row> rows = {
      {"workload", "library", "spread", "floor", "spread", "ratio", "CPU ratio", "SQLite alone", "ratio"}};
  for (const Workload& workload : workloads) {
    const Runs* const store = workload.Side("store");
    const Runs* const floor = workload.Side("floor");
    const Runs* const bare = workload.Side("bare");
    if (store == nullptr || floor == nullptr) continue;
    rows.push_back({workload.name, Time(Median(store->elapsed)), Percent(Spread(*store)), Time(Median(floor->elapsed)),
                    Percent(Spread(*floor)), Format("%.2f", Ratio(*store, *floor, &Runs::elapsed)),
                    Format("%.2f", Ratio(*store, *floor, &Runs::cpu)),
                    bare == nullptr ? "" : Time(Median(bare->elapsed)),
                    bare == nullptr ? "" : Format("%.2f", Ratio(*store, *bare, &Runs::elapsed))});
  }
  PrintTable(rows);
}

void PrintGrowth(const std::vector<Workload>& workloads) {
  std::vector<Row> rows = {{"time per object", "library", "floor"}};
  for (const Workload& workload : workloads) {
    const Runs* const store = workload.Side("store");
    const Runs* const floor = workload.Side("floor");
    if (store == nullptr || floor == nullptr || store->objects == 1) continue;
    rows.push_back(
        {workload.name, Time(Median(store->elapsed) / store->objects), Time(Median(floor->elapsed) / floor->objects)});
  }
  PrintTable(rows);
}

void PrintMemory(const std::vector<Workload>& workloads) {
  constexpr double kMebibyte = 1 << 20;
  std::vector<Row> rows = {{"memory", "the list", "beyond it", "both, times the JSON text"}};
  for (const Workload& workload : workloads) {
    const Runs* const memory = workload.Side("memory");
    if (memory == nullptr) continue;
    const double list = memory->bytes.at("list_bytes");
    const double beyond = memory->bytes.at("beyond_bytes");
    rows.push_back({workload.name, Format("%.0f MiB", list / kMebibyte), Format("%.0f MiB", beyond / kMebibyte),
                    Format("%.1f", (list + beyond) / memory->bytes.at("json_bytes"))});
  }
  PrintTable(rows);
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
      for (const auto& [counter, bytes] : runs.bytes) put(counter.c_str(), bytes);
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
  PrintTimes(workloads);
  PrintGrowth(workloads);
  PrintMemory(workloads);
  return WriteFigures(argv[1], workloads) ? 0 : 1;
}
