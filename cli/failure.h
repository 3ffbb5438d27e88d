#pragma once

#include <configstore/diagnostics.h>
#include <configstore/errors.h>
#include <configstore/host.h>

#include <exception>
#include <string>
#include <vector>

#include "exit_code.h"

namespace csctl {

/// A failure as the tool reports it: what, where and what next.
struct Failure {
  Exit exit = Exit::kInternal;
  std::string message;
  std::string where;  ///< the object, type or file concerned; may be empty
  std::string next;   ///< what the user can do about it; may be empty
  int code = 0;       ///< the library's, 0 for a failure that the tool found
  std::vector<OrvoConfigStore::ErrorInfo> violations = {};
  std::string detail = {};                                    ///< what -v shows beside it
  std::vector<OrvoConfigStore::Diagnostic> diagnostics = {};  ///< of the text at fault; they stand for its violations
};

/// A failure on its way up to main.
class CommandFailed : public std::exception {
 public:
  explicit CommandFailed(Failure failure);
  const char* what() const noexcept override;
  const Failure& GetFailure() const { return failure_; }

 private:
  Failure failure_;
};

/// Explains what a command on `where` ended with. Ask before the next call into
/// the library: the storage error belongs to the last one.
Failure Explain(const std::exception& error, const std::string& where);

/// Refuses what only an upgrade may do, on a host that is not upgrading.
[[noreturn]] void FailNoUpgrade();

/// Explains why the store could not be opened or used.
Failure ExplainStorage(const OrvoConfigStore::StorageError& error);

/// Returns the failure as lines for people, or as one line of JSON.
std::string ToText(const Failure& failure, bool withDetail);
std::string ToJson(const Failure& failure, bool withDetail);

}  // namespace csctl
