#include "platform/host_log.h"

#include <pthread.h>
#include <sys/single_threaded.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <climits>
#include <memory>
#include <mutex>
#include <new>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/host_settings.h"
#include "platform/host_util.h"
#include "platform/log_output.h"
#include "platform/process_wide.h"

// One lock covers the outputs and the writing to them: a removed output has no
// writer left, and a line that takes two writes stays in one piece. It is held
// across a fork, so that the child gets it free. Lines are formatted before it
// is taken.

namespace HaldenLib {

namespace {

constexpr int kNoLevel = -1;
constexpr int kEveryLevel = INT_MAX;

struct Service {
  std::vector<std::unique_ptr<LogOutput>> outputs;
  const LogOutput* main = nullptr;  // the one that an Init call has set up
  int stderrLevel = kNoLevel;
};

std::mutex& LogLock() {
  static std::mutex lock;
  return lock;
}

[[maybe_unused]] const bool kHeldAcrossForks = HoldAcrossForks<LogLock>();

/// The highest level that any output takes.
std::atomic<int>& HighestLevel() {
  static std::atomic<int> level{kNoLevel};
  return level;
}

void RecomputeHighestLevel(const Service& service) {
  int highest = service.stderrLevel;
  for (const auto& output : service.outputs) highest = std::max(highest, output->MinLevel());
  HighestLevel().store(highest, std::memory_order_relaxed);
}

/// Puts `next` in the place of `before`, at the end when that is not there;
/// either may be null.
void Exchange(Service* service, const LogOutput* before, std::unique_ptr<LogOutput> next) {
  auto& outputs = service->outputs;
  const auto found =
      std::find_if(outputs.begin(), outputs.end(), [&](const auto& output) { return output.get() == before; });
  if (next && found != outputs.end()) {
    *found = std::move(next);
  } else if (next) {
    outputs.push_back(std::move(next));
  } else if (found != outputs.end()) {
    outputs.erase(found);
  }
  RecomputeHighestLevel(*service);
}

std::string SettingOr(const Dictionary& settings, const char* name, const std::string& fallback) {
  const auto found = settings.find(name);
  return found == settings.end() ? fallback : found->second;
}

int MinLevelOf(const Dictionary& settings) {
  const int preferred = Preference_GetLong("log.logMinLevel", kEveryLevel);
  return NumberOr(SettingOr(settings, "log.logMinLevel", ""), preferred);
}

bool SetMain(std::unique_ptr<LogOutput> output) {
  if (!output) return false;
  const std::lock_guard<std::mutex> lock(LogLock());
  Service& service = TheOnly<Service>();
  const LogOutput* const main = output.get();
  Exchange(&service, service.main, std::move(output));
  service.main = main;
  return true;
}

bool IsControl(char byte) {
  return static_cast<unsigned char>(byte) < ' ' || byte == '\x7F';
}

bool EndsInNewline(std::string_view format) {
  return !format.empty() && format.back() == '\n';
}

/// A caller's errno outlives its log line.
class ErrnoKeeper {
 public:
  ErrnoKeeper() = default;
  ErrnoKeeper(const ErrnoKeeper&) = delete;
  ErrnoKeeper& operator=(const ErrnoKeeper&) = delete;
  ~ErrnoKeeper() { errno = kept_; }

 private:
  const int kept_ = errno;
};

void WriteToAll(int level, std::string_view line) {
  const std::lock_guard<std::mutex> lock(LogLock());
  const Service& service = TheOnly<Service>();
  for (const auto& output : service.outputs) {
    if (level <= output->MinLevel()) output->Write(level, line);
  }
  if (level <= service.stderrLevel) WriteOnce(STDERR_FILENO, line);
}

}  // namespace

bool Log_InitWithSyslogInt(const std::string& identity, const Dictionary& settings) {
  return SetMain(OpenSyslogOutput(SettingOr(settings, "log.syslogID", identity), MinLevelOf(settings)));
}

bool Log_InitWithFileInt(const std::string& identity, const Dictionary& settings) {
  return SetMain(std::unique_ptr<LogOutput>(Log_NewFileOutput(identity, settings)));
}

LogOutput* Log_NewFileOutput(const std::string& /*name*/, const Dictionary& settings) {
  return OpenFileOutput(SettingOr(settings, "log.fileName", ""), MinLevelOf(settings)).release();
}

bool Log_AddOutput(LogOutput* output) {
  if (output == nullptr) return false;
  std::unique_ptr<LogOutput> owned(output);
  const std::lock_guard<std::mutex> lock(LogLock());
  Exchange(&TheOnly<Service>(), nullptr, std::move(owned));
  return true;
}

void Log_ReplaceOutput(LogOutput* output, LogOutput* replacement, int /*flags*/) {
  std::unique_ptr<LogOutput> next(replacement);
  const std::lock_guard<std::mutex> lock(LogLock());
  Exchange(&TheOnly<Service>(), output, std::move(next));
}

void Log_SetStderrLevel(int level) {
  const std::lock_guard<std::mutex> lock(LogLock());
  TheOnly<Service>().stderrLevel = level;
  RecomputeHighestLevel(TheOnly<Service>());
}

void Log_SetProductInfo(const std::string& /*name*/, const std::string& /*version*/, const std::string& /*build*/,
                        const std::string& /*option*/) {}

void Log_Exit() {
  const std::lock_guard<std::mutex> lock(LogLock());
  TheOnly<Service>() = Service();
  RecomputeHighestLevel(TheOnly<Service>());
}

bool Log_WouldWrite(int level) {
  return level <= HighestLevel().load(std::memory_order_relaxed);
}

std::string Log_Prefix() {
  const unsigned long thread = __libc_single_threaded ? 1 : pthread_self();
  return std::string("[") + kLogProgram + ":" + std::to_string(getpid()) + ":" + std::to_string(thread) + ":] ";
}

void LogV(int level, const char* format, va_list arguments) {
  if (!Log_WouldWrite(level)) return;
  const ErrnoKeeper keeper;
  size_t length = 0;
  const HeapText text(Str_Vasprintf(&length, format, arguments));
  if (!text) return;
  if (length > 0 && EndsInNewline(format)) --length;
  std::replace_if(text.get(), text.get() + length, IsControl, '?');
  text.get()[length] = '\n';  // in the place of the NUL or of the format's newline
  WriteToAll(level, {text.get(), length + 1});
}

void LogLine(int level, const char* format, ...) {
  if (!Log_WouldWrite(level)) return;
  va_list arguments;
  va_start(arguments, format);
  try {
    LogV(level, (Log_Prefix() + format).c_str(), arguments);
  } catch (const std::bad_alloc&) {
    // No memory, no line.
  }
  va_end(arguments);
}

void Log_ToSyslog(int level, const std::string& text) {
  try {
    const ErrnoKeeper keeper;
    std::string line = Log_Prefix() + text;
    std::replace_if(line.begin(), line.end(), IsControl, '?');
    const auto syslog = OpenSyslogOutput(kLogProgram, kEveryLevel);
    if (syslog) syslog->Write(level, line + "\n");
  } catch (const std::bad_alloc&) {
    // No memory, no line.
  }
}

}  // namespace HaldenLib
