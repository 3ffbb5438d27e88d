#include <cstdint>

#include "fuzz_host.h"

using namespace OrvoConfigStore;

namespace {

constexpr char kBefore[] =
    R"({"components": {"fuzz": {"f": {"single": {"n": 1, "v": 2}, "set": [{"name": "a", "c": 3}],
                                      "rich": {"s": "secret", "e": "on", "parts": [{"a": 1}]}}}}})";

}  // namespace

/// The first byte chooses how, the rest is the document: it is refused and nothing
/// has changed, or what it left is exported, imported and exported again as it is.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  FuzzHost::Prepare();
  Import(kBefore);
  const std::string before = Export();
  ImportOptions options;
  options.mode = data[0] % 2 == 0 ? IMPORT_REPLACE : IMPORT_MERGE;
  try {
    Import(std::string(reinterpret_cast<const char*>(data) + 1, size - 1), options);
  } catch (const ConfigStoreException&) {
    Demand(Export() == before);
    return 0;
  }
  const std::string after = Export();
  Import(after);
  Demand(Export() == after);
  return 0;
}
