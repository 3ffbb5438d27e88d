/// GetInstances or SetInstances of all instances of a type:
/// instances_bench get|set COUNT [benchmark flags].
///
/// Each is a program run of its own: SetInstances leaves the rows of library and
/// floor in places of their own, and the reading is to find them in the same.

#include <cstdlib>
#include <iostream>
#include <stdexcept>

#include "floor.h"
#include "run.h"
#include "sample.h"

namespace {

using bench::Floor;
using bench::SampleHost;
using bench::Side;

void RegisterGet(const SampleHost& host, Floor& floor, size_t count) {
  const std::string workload = "GetInstances of " + std::to_string(count);
  const auto filter = std::make_shared<OrvoConfigStore::FilterSpecObject>(bench::SampleType());
  const auto readByStore = [&host, filter, count](size_t) {
    if (host->GetInstances(filter).size() != count) throw std::runtime_error("instances are missing");
  };
  bench::Register(workload, Side::Store, readByStore, count);
  bench::Register(
      workload, Side::Floor, [&floor](size_t) { floor.ReadAll(bench::ParseText); }, count);
  bench::Register(
      workload, Side::Bare, [&floor](size_t) { floor.ReadAll(bench::SkipText); }, count);
}

void RegisterSet(const SampleHost& host, Floor& floor, size_t count) {
  const std::string workload = "SetInstances of " + std::to_string(count);
  const auto objects = std::make_shared<const bench::ObjectList>(bench::SampleObjects(count));
  const auto rows = std::make_shared<const std::vector<bench::FloorRow>>(bench::FloorRows(count));
  bench::Register(
      workload, Side::Store, [&host, objects](size_t) { host->SetInstances(*objects, {}); }, count);
  bench::Register(
      workload, Side::Floor, [&floor, rows](size_t) { floor.ReplaceAll(*rows); }, count);
}

}  // namespace

int main(int argc, char** argv) {
  const std::string operation = argc > 1 ? argv[1] : "";
  const size_t count = argc > 2 ? std::strtoul(argv[2], nullptr, 10) : 0;
  if (count == 0 || (operation != "get" && operation != "set")) {
    std::cerr << "usage: instances_bench get|set COUNT [benchmark flags]\n";
    return 2;
  }
  const SampleHost host(count);
  Floor floor(OrvoConfigStore::ResolveHostPath(bench::kStoreFile), host.FileBeside("floor"));
  (operation == "get" ? RegisterGet : RegisterSet)(host, floor, count);
  argv[2] = argv[0];
  return bench::RunRegistered(argc - 2, argv + 2);
}
