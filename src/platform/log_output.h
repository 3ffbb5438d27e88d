#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <utility>

/// Where the lines of the log go: files and syslog.

namespace HaldenLib {

/// Owns an open file descriptor; below 0 is none.
class Descriptor {
 public:
  explicit Descriptor(int number) : number_(number) {}
  Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
  Descriptor& operator=(Descriptor&&) = delete;
  ~Descriptor();
  int Number() const { return number_; }

 private:
  int number_;
};

/// An open output; closed when destroyed.
class LogOutput {
 public:
  LogOutput(const LogOutput&) = delete;
  LogOutput& operator=(const LogOutput&) = delete;
  LogOutput(Descriptor descriptor, int minLevel) : descriptor_(std::move(descriptor)), minLevel_(minLevel) {}
  virtual ~LogOutput();

  int MinLevel() const { return minLevel_; }

  /// Writes `line`, which ends in its newline. What cannot be written is dropped.
  virtual void Write(int level, std::string_view line) const = 0;

 protected:
  const Descriptor descriptor_;

 private:
  const int minLevel_;
};

/// Appends `text` to an open file with one write, taken up again only where a
/// signal or a full disk cut it off.
void WriteOnce(int descriptor, std::string_view text);

/// Opens the host's file `path`, under a root with the directories it needs;
/// null when it cannot be opened or is not a regular file of our own.
std::unique_ptr<LogOutput> OpenFileOutput(const std::string& path, int minLevel);

/// Opens syslog as `identity`; under a root that is the root's own file.
std::unique_ptr<LogOutput> OpenSyslogOutput(const std::string& identity, int minLevel);

/// Opens a syslog service that listens at the real path `socketPath`.
std::unique_ptr<LogOutput> OpenSyslogSocket(const std::string& socketPath, const std::string& identity, int minLevel);

}  // namespace HaldenLib
