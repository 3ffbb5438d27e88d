#include <cstdarg>
#include <string>
#include <utility>

#include "configstore/errors.h"
#include "configstore/logging.h"
#include "errors/error_codes.h"
#include "platform/failure.h"
#include "platform/host_util.h"

// An enumeration of int is passed as it is; clang warns of a promotion.
#pragma GCC diagnostic ignored "-Wvarargs"

namespace HostCtl::Lib {

ZebMessage::ZebMessage(std::string text) : text_(std::move(text)) {}

const std::string& ZebMessage::GetText() const {
  return text_;
}

void ZebMessage::Prepend(const std::string& text) {
  text_.insert(0, text);
}

HostCtlException::HostCtlException(const char* message) : message_(message) {}

HostCtlException::~HostCtlException() = default;

const char* HostCtlException::what() const noexcept {
  return message_.c_str();
}

std::string HostCtlException::GetDetailedMessage() const {
  if (!observation_) return message_;
  ZebMessage detailed = *observation_;
  detailed.Prepend(message_);
  return detailed.GetText();
}

}  // namespace HostCtl::Lib

namespace OrvoConfigStore {

ConfigStoreException::ConfigStoreException(int code, const char* message) : HostCtlException(message), code_(code) {
  CSLogger::Log(CSLogger::LOG_PRIORITY_ERROR, "[%d] %s", code, message);
  CSLogger::LogBacktrace();
}

ConfigStoreException::~ConfigStoreException() = default;
InvalidArgumentException::~InvalidArgumentException() = default;
InvalidTypeException::~InvalidTypeException() = default;

int ConfigStoreException::GetErrorCode() const {
  return code_;
}

std::string ConfigStoreException::toString() const {
  return "Error Code: " + std::to_string(code_) + "\n" + "Message: " + message_ + "\n";
}

ValidationException::ValidationException(int code, const char* message, const std::vector<ErrorInfo>& errors)
    : ConfigStoreException(code, message), errors_(errors) {}

ValidationException::~ValidationException() = default;

const std::vector<ErrorInfo>& ValidationException::GetErrors() const {
  return errors_;
}

std::string ValidationException::toString() const {
  std::string text = ConfigStoreException::toString();
  if (!errors_.empty()) text += "Details: \n";
  for (const ErrorInfo& info : errors_) text += info.field + ": " + info.error + "\n";
  return text;
}

namespace {

/// A filled format. Without memory for it, the format itself is the message.
class Message {
 public:
  Message(const char* format, va_list arguments)
      : format_(format), filled_(HaldenLib::Str_Vasprintf(nullptr, format, arguments)) {}

  const char* Text() const { return filled_ ? filled_.get() : format_; }

 private:
  const char* format_;
  HaldenLib::HeapText filled_;
};

}  // namespace

template <class T>
void ThrowException(CSErrorCodes code, ...) {
  const char* const format = MessageFormat(code);
  va_list arguments;
  va_start(arguments, code);
  const Message message(format, arguments);
  va_end(arguments);
  throw T(code, message.Text());
}

template void ThrowException<ConfigStoreException>(CSErrorCodes code, ...);
template void ThrowException<InvalidArgumentException>(CSErrorCodes code, ...);
template void ThrowException<InvalidTypeException>(CSErrorCodes code, ...);

void ThrowValidation(CSErrorCodes code, std::vector<ErrorInfo> errors, ...) {
  const char* const format = MessageFormat(code);
  va_list arguments;
  va_start(arguments, errors);
  const Message message(format, arguments);
  va_end(arguments);
  throw ValidationException(code, message.Text(), errors);
}

void ThrowInvalidJson() {
  throw ConfigStoreException(CS_GENERAL, "Invalid JSON");
}

void ThrowPlatformFailure(const char* message) {
  throw ConfigStoreException(CS_GENERAL, message);
}

}  // namespace OrvoConfigStore
