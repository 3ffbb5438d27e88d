// The power is cut at any operation on the disk; what was not synced is there in
// part, in torn sectors.

#include "faults/fault_disk.h"
#include "faults/host.h"

namespace {

/// Writes random parts until the power goes, `at` operations on; what the process
/// sees of that are errors.
void WriteUntilCut(FaultHost& host, Ledger* ledger, std::mt19937& random, long at) {
  constexpr int kMostWrites = 6;
  FaultDisk& disk = FaultDisk::Instance();
  disk.StartRecord();
  disk.FailAt(at, FaultDisk::IO_ERROR, true);
  try {
    host.Open();
    for (int i = 0; i < kMostWrites; ++i) {
      const size_t part = random() % Parts().size();
      ledger->underWay = part;
      Parts()[part].write(host, ledger->acknowledged[part] + 1);
      ++ledger->acknowledged[part];
      ledger->underWay = Parts().size();
      if (random() % 8 == 0) host.Close(), host.Open();
    }
  } catch (const OrvoConfigStore::ConfigStoreException&) {
  }
  disk.FailAt(1, FaultDisk::IO_ERROR, true);
  host.Close();
  disk.Heal();
  disk.LosePower(random);
}

TEST(PowerCut, LosesNothingAcknowledgedAndLeavesNothingByHalves) {
  constexpr int kMostOperations = 200;
  std::mt19937 random = Random();
  FaultHost host;
  Ledger ledger;
  for (long round = 0; round < Times(5000); ++round) {
    host.Close();
    WriteUntilCut(host, &ledger, random, 1 + static_cast<long>(random() % kMostOperations));
    ASSERT_EQ("", ledger.Judge(host)) << "round " << round;
  }
}

}  // namespace
