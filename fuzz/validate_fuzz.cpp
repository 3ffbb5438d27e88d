#include <cstdint>
#include <string>
#include <unordered_set>

#include "configstore/errors.h"
#include "configstore/validation.h"

using namespace OrvoConfigStore;

namespace {

const std::unordered_set<int> kSelections[] = {
    {},
    {CHECK_ADDITIONAL_PROPERTIES, CHECK_SCALAR_TYPES, CHECK_REFERENCES, CHECK_REQUIRED, CHECK_ASSIGN_GENERATED_ID,
     CHECK_OPTION_DEPENDENCY, CHECK_GENERATED_ID_DUPLICATES},
    {CHECK_NON_USER_MARKERS, CHECK_REQUIRED_NON_LAYERED, CHECK_VITAL_ONLY, CHECK_CACHED_ONLY},
};

}  // namespace

/// The first line is the schema, the rest the data: whatever they are, nothing
/// but a ConfigStoreException comes out.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string input(reinterpret_cast<const char*>(data), size);
  const size_t lineEnd = input.find('\n');
  if (lineEnd == std::string::npos) return 0;
  for (const auto& checks : kSelections) {
    try {
      ValidateJsonStr(input.substr(0, lineEnd), input.substr(lineEnd + 1), checks);
    } catch (const ConfigStoreException&) {
    }
  }
  return 0;
}
