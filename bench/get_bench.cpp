/// Get: the same object again and again, and a random one of 10,000.

#include <stdexcept>

#include "floor.h"
#include "run.h"
#include "sample.h"

namespace {

constexpr size_t kStored = 10000;

constexpr size_t kNoCache = 0;
constexpr size_t kDefaultCache = 256 << 10;

// Reads instance order[count], beginning again at the end of the order.
void RegisterReads(const std::string& workload, bench::SampleHost& host, bench::Floor& floor, size_t cacheLimit,
                   const std::vector<size_t>& order) {
  std::vector<bench::ConfigStoreObjectId> ids;
  for (const size_t index : order) ids.push_back(bench::SampleId(index));
  bench::Register(workload, bench::Side::Store, [&host, ids, cacheLimit](size_t count) {
    OrvoConfigStore::SetReadCacheLimit(cacheLimit);
    const std::shared_ptr<bench::ConfigStoreObject> object = host->Get(ids[count % ids.size()]);
    if (object == nullptr) throw std::runtime_error("the object is missing");
    benchmark::DoNotOptimize(object);
  });
  bench::Register(workload, bench::Side::Floor,
                  [&floor, ids](size_t count) { floor.Read(ids[count % ids.size()].instanceId, bench::ParseText); });
  bench::Register(workload, bench::Side::Bare,
                  [&floor, ids](size_t count) { floor.Read(ids[count % ids.size()].instanceId, bench::SkipText); });
}

}  // namespace

int main(int argc, char** argv) {
  bench::SampleHost host(kStored);
  bench::Floor floor(OrvoConfigStore::ResolveHostPath(bench::kStoreFile), host.FileBeside("floor"));
  RegisterReads("Get, the same object, no cache", host, floor, kNoCache, {kStored / 2});
  RegisterReads("Get, the same object", host, floor, kDefaultCache, {kStored / 2});
  RegisterReads("Get, a random one of 10000", host, floor, kDefaultCache, bench::RandomOrder(kStored));
  return bench::RunRegistered(argc, argv);
}
