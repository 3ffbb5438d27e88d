#include "lifecycle/exec_command.h"

#include <string>
#include <system_error>
#include <vector>

#include "configstore/logging.h"
#include "platform/child_program.h"

namespace OrvoConfigStore {

bool ExecCommand(const char* const arguments[]) {
  std::vector<std::string> words;
  for (; *arguments != nullptr; ++arguments) words.push_back(*arguments);
  const HaldenLib::ChildResult result = HaldenLib::HaldenKernel_ForkExec(words);
  const std::string reason = std::generic_category().message(result.value);
  switch (result.kind) {
    case HaldenLib::ChildResult::NOT_STARTED:
      CSLogger::LogErrCode(CSLogger::LOG_PRIORITY_ERROR, CS_FORK_EXEC_FAILED, reason.c_str());
      return false;
    case HaldenLib::ChildResult::NOT_WAITED_FOR:
      CSLogger::LogErrCode(CSLogger::LOG_PRIORITY_ERROR, CS_CHILD_WAIT_FAILED, static_cast<int>(result.child),
                           reason.c_str());
      return false;
    case HaldenLib::ChildResult::ENDED:
      break;
  }
  if (result.value == 0) return true;
  CSLogger::LogErrCode(CSLogger::LOG_PRIORITY_ERROR, CS_CHILD_EXIT_STATUS, result.value);
  return false;
}

}  // namespace OrvoConfigStore
