#include <gtest/gtest.h>

#include "faults/fault_disk.h"

int main(int count, char** arguments) {
  testing::InitGoogleTest(&count, arguments);
  FaultDisk::Instance();
  return RUN_ALL_TESTS();
}
