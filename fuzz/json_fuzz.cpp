#include <cstdint>
#include <cstdlib>
#include <string>

#include "configstore/errors.h"
#include "configstore/json_document.h"

using namespace OrvoConfigStore;

namespace {

std::string Rewrite(const std::string& text) {
  std::string rewritten;
  SerializeValue(*CreateDocumentFromString(text)->GetJsonValuePtr(), rewritten);
  return rewritten;
}

}  // namespace

/// A text is refused, or what is written of it reads back as exactly that.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string written;
  try {
    written = Rewrite(std::string(reinterpret_cast<const char*>(data), size));
  } catch (const InvalidArgumentException&) {
    return 0;
  }
  if (Rewrite(written) != written) std::abort();
  return 0;
}
