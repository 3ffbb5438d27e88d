/// Set of a whole object, and Update of one of its fields, validated and
/// durable, on random ones of 10,000: write_bench [disk] [benchmark flags]. With
/// "disk" Set alone, by another name: the same on a medium that has to sync.

#include <string>

#include "floor.h"
#include "run.h"
#include "sample.h"

namespace {

constexpr size_t kStored = 10000;
// Enough that no page of the store is written twice in a row.
constexpr size_t kWritten = 1000;

using bench::ConfigStore;
using bench::Floor;
using bench::FloorRow;
using bench::ObjectList;
using bench::SampleHost;
using bench::Side;

ObjectList Objects(const std::vector<size_t>& order) {
  ObjectList objects;
  for (const size_t index : order) {
    objects.push_back(ConfigStore::CreateObject(bench::SampleId(index), bench::SampleText(index)));
  }
  return objects;
}

// What updates change: one field, to one of two values in turn, so that every update
// changes something.
constexpr int kRetries[] = {50, 51};

ObjectList PartialObjects(const std::vector<size_t>& order) {
  ObjectList objects;
  for (const int retries : kRetries) {
    for (const size_t index : order) {
      objects.push_back(std::make_shared<bench::ConfigStoreObject>(bench::SampleId(index)));
      objects.back()->SetValue("retries", retries);
    }
  }
  return objects;
}

std::vector<FloorRow> Rows(const std::vector<size_t>& order) {
  std::vector<FloorRow> rows;
  for (const size_t index : order) rows.push_back({bench::SampleId(index).instanceId, bench::SampleText(index)});
  return rows;
}

// The rows as those updates leave them.
std::vector<FloorRow> UpdatedRows(const std::vector<size_t>& order) {
  std::vector<FloorRow> rows;
  for (const int retries : kRetries) {
    for (const size_t index : order) {
      const auto object = ConfigStore::CreateObject(bench::SampleId(index), bench::SampleText(index));
      object->SetValue("retries", retries);
      rows.push_back({bench::SampleId(index).instanceId, object->GetData()});
    }
  }
  return rows;
}

void RegisterSet(const std::string& workload, const SampleHost& host, Floor& floor, const ObjectList& objects,
                 const std::vector<FloorRow>& rows) {
  bench::Register(workload, Side::Store, [&](size_t count) { host->Set(objects[count % objects.size()], {}); });
  bench::Register(workload, Side::Floor, [&](size_t count) { floor.Write(rows[count % rows.size()]); });
}

void RegisterUpdate(const std::string& workload, const SampleHost& host, Floor& floor, const ObjectList& objects,
                    const std::vector<FloorRow>& rows) {
  const auto updateByFloor = [&floor, &rows](void (*take)(std::string_view)) {
    return [&floor, &rows, take](size_t count) {
      const FloorRow& row = rows[count % rows.size()];
      floor.Read(row.instance, take);
      floor.Update(row);
    };
  };
  bench::Register(workload, Side::Store, [&](size_t count) { host->Update(objects[count % objects.size()], {}); });
  bench::Register(workload, Side::Floor, updateByFloor(bench::ParseText));
  bench::Register(workload, Side::Bare, updateByFloor(bench::SkipText));
}

}  // namespace

int main(int argc, char** argv) {
  const bool isDisk = argc > 1 && argv[1] == std::string("disk");
  const SampleHost host(kStored);
  Floor floor(OrvoConfigStore::ResolveHostPath(bench::kStoreFile), host.FileBeside("floor"));
  std::vector<size_t> order = bench::RandomOrder(kStored);
  order.resize(kWritten);
  const ObjectList whole = Objects(order);
  const ObjectList partial = PartialObjects(order);
  const std::vector<FloorRow> rows = Rows(order);
  const std::vector<FloorRow> updated = UpdatedRows(order);

  RegisterSet(isDisk ? "Set on a disk" : "Set", host, floor, whole, rows);
  if (!isDisk) {
    RegisterUpdate("Update of one field", host, floor, partial, updated);
    return bench::RunRegistered(argc, argv);
  }
  argv[1] = argv[0];
  return bench::RunRegistered(argc - 1, argv + 1);
}
