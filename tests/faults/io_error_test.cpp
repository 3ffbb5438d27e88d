// Every operation on the disk fails, one after the other.

#include "faults/every_place.h"
#include "faults/fault_disk.h"

namespace {

class EveryIoError : public testing::TestWithParam<std::tuple<FaultDisk::Kind, bool, bool>> {};

TEST_P(EveryIoError, IsAnswered) {
  const auto [kind, forGood, reopens] = GetParam();
  FaultDisk& disk = FaultDisk::Instance();
  FaultHost host;
  for (const Part& part : Parts()) {
    part.write(host, 1);
    const long places = FailEveryPlace(
        host, part, reopens, [&, kind = kind, forGood = forGood](long k) { disk.FailAt(k, kind, forGood); },
        [&] { return disk.Heal(); });
    std::printf("%s: %ld places\n", part.name, places);
    EXPECT_LT(0, places) << part.name;
    if (HasFailure()) return;
  }
  EXPECT_TRUE(OrvoConfigStore::IsConsistentStore(OrvoConfigStore::GetStorePath()));
}

INSTANTIATE_TEST_SUITE_P(Kinds, EveryIoError,
                         testing::Combine(testing::Values(FaultDisk::IO_ERROR, FaultDisk::FULL), testing::Bool(),
                                          testing::Bool()),
                         [](const auto& test) {
                           return std::string(std::get<0>(test.param) == FaultDisk::FULL ? "Full" : "IoError") +
                                  (std::get<1>(test.param) ? "ForGood" : "Once") +
                                  (std::get<2>(test.param) ? "AndReopened" : "");
                         });

}  // namespace
