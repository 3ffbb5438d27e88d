/// Set of a whole object, and Update of one of its fields, validated and
/// durable, on random ones of 10,000.

#include "floor.h"
#include "run.h"
#include "sample.h"

namespace {

constexpr size_t kStored = 10000;
// Enough that no page of the store is written twice in a row.
constexpr size_t kWritten = 1000;

using bench::FloorRow;
using bench::ObjectList;

ObjectList Objects(const std::vector<size_t>& order) {
  ObjectList objects;
  for (const size_t index : order) {
    objects.push_back(bench::ConfigStore::CreateObject(bench::SampleId(index), bench::SampleText(index)));
  }
  return objects;
}

// Objects that hold one field; twice each, so that every update changes something.
ObjectList PartialObjects(const std::vector<size_t>& order) {
  ObjectList objects;
  for (const int retries : {50, 51}) {
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

}  // namespace

int main(int argc, char** argv) {
  using bench::Side;
  bench::SampleHost host(kStored);
  bench::Floor floor(OrvoConfigStore::ResolveHostPath(bench::kStoreFile), host.FileBeside("floor"));
  std::vector<size_t> order = bench::RandomOrder(kStored);
  order.resize(kWritten);
  const ObjectList whole = Objects(order);
  const ObjectList partial = PartialObjects(order);
  const std::vector<FloorRow> rows = Rows(order);

  bench::Register("Set", Side::Store, [&](size_t count) { host->Set(whole[count % whole.size()], {}); });
  bench::Register("Set", Side::Floor, [&](size_t count) { floor.Write(rows[count % rows.size()]); });

  bench::Register("Update of one field", Side::Store,
                  [&](size_t count) { host->Update(partial[count % partial.size()], {}); });
  bench::Register("Update of one field", Side::Floor, [&](size_t count) {
    floor.Read(rows[count % rows.size()].instance, bench::ParseText);
    floor.Update(rows[count % rows.size()]);
  });
  bench::Register("Update of one field", Side::Bare, [&](size_t count) {
    floor.Read(rows[count % rows.size()].instance, bench::SkipText);
    floor.Update(rows[count % rows.size()]);
  });
  return bench::RunRegistered(argc, argv);
}
