#include "configstore/logging.h"

#include <algorithm>
#include <cstdarg>
#include <exception>
#include <iterator>

#include "errors/error_codes.h"
#include "platform/host_log.h"
#include "platform/host_paths.h"
#include "platform/host_settings.h"
#include "platform/host_util.h"

// An enumeration of int is passed as it is; clang warns of a promotion.
#pragma GCC diagnostic ignored "-Wvarargs"

namespace CSLogger {

namespace {

using HaldenLib::Dictionary;

// Indexed by log_priority.
constexpr int kServiceLevels[] = {HaldenLib::LOG_LEVEL_ERROR, HaldenLib::LOG_LEVEL_WARNING, HaldenLib::LOG_LEVEL_INFO,
                                  HaldenLib::LOG_LEVEL_TRACE};

/// A priority that does not exist matters least.
int ServiceLevel(log_priority priority) {
  return kServiceLevels[std::min(static_cast<size_t>(priority), std::size(kServiceLevels) - 1)];
}

HaldenLib::ProductInfo OurProduct() {
  HaldenLib::ProductInfo info;
  info.product = HaldenLib::kLogProgram;
  info.version = "1.0";
  info.build = 15843807;
  info.productName = "Halden ORVO Server";
  info.productVersion = "7.0";
  return info;
}

/// A log's name is one file name, never a path; a NUL would cut off ".log".
bool IsLogName(const std::string& name) {
  return name.find_first_of(std::string("/\0", 2)) == std::string::npos;
}

Dictionary FileSettings(const std::string& name) {
  const char* const directory =
      HaldenLib::HostType_OSIsHaldenKernel() ? HaldenLib::kKernelLogDirectory : HaldenLib::kLogDirectory;
  return {{"log.suffix", HaldenLib::kLogProgram}, {"log.fileName", directory + name + ".log"}, {"log.append", "true"}};
}

bool InitService(const std::string& name) {
  const std::string program = HaldenLib::kLogProgram;
  if (name.empty()) return HaldenLib::Log_InitWithSyslogInt(program, {{"log.syslogID", program}});
  return HaldenLib::Log_InitWithFileInt(program, FileSettings(name));
}

void TellProduct() {
  const HaldenLib::ProductInfo info = HaldenLib::ProductState_Get();
  HaldenLib::Log_SetProductInfo(info.productName, info.productVersion, HaldenLib::ProductState_GetBuildNumberString(),
                                HaldenLib::ProductState_GetCompilationOption());
}

void SetUp(const std::string& name) {
  HaldenLib::Preference_Init();
  HaldenLib::ProductState_Set(OurProduct());
  if (!InitService(name)) HaldenLib::Log_ToSyslog(HaldenLib::LOG_LEVEL_WARNING, "Failed opening log file.");
  TellProduct();
  HaldenLib::Log_SetStderrLevel(-1);
}

HaldenLib::LogOutput* AddFile(const std::string& name) {
  if (!IsLogName(name)) return nullptr;
  Dictionary settings = FileSettings(name);
  settings["log.logMinLevel"] = std::to_string(HaldenLib::LOG_LEVEL_WARNING);
  HaldenLib::LogOutput* const output = HaldenLib::Log_NewFileOutput(HaldenLib::kLogProgram, settings);
  return HaldenLib::Log_AddOutput(output) ? output : nullptr;
}

/// Doubles percent signs, so that a format shows `text` as it is.
std::string ForFormat(const std::string& text) {
  std::string escaped;
  for (const char c : text) escaped.append(c == '%' ? 2 : 1, c);
  return escaped;
}

void Write(log_priority priority, const std::string& tag, const char* format, va_list arguments) {
  if (!WouldLog(priority)) return;
  try {
    const std::string whole = ForFormat(HaldenLib::Log_Prefix() + tag) + format;
    HaldenLib::LogV(ServiceLevel(priority), whole.c_str(), arguments);
  } catch (const std::exception&) {
    // No memory, no line.
  }
}

}  // namespace

void LogInit(std::string name) try {
  if (IsLogName(name)) {
    SetUp(name);
  } else {
    HaldenLib::Log_ToSyslog(HaldenLib::LOG_LEVEL_WARNING, "Refused log file name: " + name);
  }
} catch (const std::exception&) {
  // No memory, no log.
}

void* AddFileLogger(std::string name) {
  if (name.empty()) return nullptr;
  HaldenLib::LogOutput* output = nullptr;
  try {
    output = AddFile(name);
  } catch (const std::exception&) {
    // No memory, no output; reported below.
  }
  if (output == nullptr) HaldenLib::Log_ToSyslog(HaldenLib::LOG_LEVEL_WARNING, "Failed adding log file.");
  HaldenLib::Log_SetStderrLevel(-1);
  return output;
}

void RemoveFileLogger(void* output) {
  if (output != nullptr) HaldenLib::Log_ReplaceOutput(static_cast<HaldenLib::LogOutput*>(output), nullptr, 0);
}

void LogExit() {
  HaldenLib::Log_Exit();
  HaldenLib::Preference_Exit();
}

bool WouldLog(log_priority priority) {
  return HaldenLib::Log_WouldWrite(ServiceLevel(priority));
}

void Log(log_priority priority, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  Write(priority, "", format, arguments);
  va_end(arguments);
}

void DBLog(std::string& dbName, log_priority priority, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  Write(priority, dbName, format, arguments);
  va_end(arguments);
}

void LogErrCode(log_priority priority, OrvoConfigStore::CSErrorCodes code, ...) {
  const char* const format = OrvoConfigStore::MessageFormat(code);
  if (!WouldLog(priority)) return;
  va_list arguments;
  va_start(arguments, code);
  Write(priority, "[" + std::to_string(code) + "]", format, arguments);
  va_end(arguments);
}

void LogBacktrace() {
  if (!WouldLog(LOG_PRIORITY_INFO)) return;
  constexpr int kOwnFrames = 2;  // the capturing function and this one
  HaldenLib::FastBacktrace backtrace;
  HaldenLib::CoreDump_CaptureFastBacktrace(&backtrace, kOwnFrames, HaldenLib::FastBacktrace::kMost);
  char text[1024];
  HaldenLib::CoreDump_Base64BacktraceFormat(backtrace, "configstore", text, sizeof text);
  Log(LOG_PRIORITY_INFO, "ConfigStoreException: %s", text);
}

}  // namespace CSLogger
