#pragma once

#include <cstddef>
#include <string>

#include "configstore/json_types.h"

namespace OrvoConfigStore {

/// Logs a violation at priority 0 and appends it to `errors`, an array, as
/// {"value", "field", "error"} with a deep copy of `value`.
void ReportValidationError(const JsonValue& value, const std::string& path, const std::string& message,
                           JsonDocument& errors);

/// What one validation may still copy into its errors, in bytes. Without a bound
/// an object of 100,000 forbidden members would be copied 100,000 times.
class CopyAllowance {
 public:
  /// Whether `value` may be copied, and counts it. A value that nests so deep
  /// that the errors could not be written as text may not.
  /// Deliberate: what was counted of a value that is then refused stays counted,
  /// since looking costs as much as copying; all later values may be refused.
  bool Take(const JsonValue& value);

 private:
  bool Count(const JsonValue& value, int depth);
  bool Spend(size_t bytes);

  size_t bytes_ = size_t{64} << 20;
};

}  // namespace OrvoConfigStore
