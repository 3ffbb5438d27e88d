#pragma once

#include <cstdint>

namespace OrvoConfigStore {

/// Who writes: decides which layer takes the user part of an object. Other
/// kinds are accepted; their user part goes nowhere.
struct USERDATA_CONTEXT {
  enum Kind : uint32_t {
    EXTERNAL = 0,           ///< an outside client; refused while the host boots
    AUTOCONFIGURATION = 1,  ///< the host's own automatic configuration
  };
  uint32_t kind = EXTERNAL;
};

}  // namespace OrvoConfigStore
