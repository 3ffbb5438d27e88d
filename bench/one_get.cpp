/// Opens the store, reads one object, and ends: one_get ROOT INSTANCE.

#include <configstore/config_store.h>
#include <configstore/host.h>

#include "type.h"

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  OrvoConfigStore::SetHostRoot(argv[1]);
  const OrvoConfigStore::ConfigStoreObjectId id(bench::kKey, bench::kGroup, bench::kComponent, argv[2]);
  return OrvoConfigStore::ConfigStore::GetStore("")->Get(id) == nullptr ? 1 : 0;
}
