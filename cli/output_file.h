#pragma once

#include <string>
#include <string_view>

namespace csctl {

/// A file that is written under a temporary name beside its own and takes its place
/// once it is complete and on the disk; until then what was there stays.
class OutputFile {
 public:
  /// Begins the file at `path`. A private one may be read by its owner alone.
  /// Throws CommandFailed, as the other functions do.
  OutputFile(const std::string& path, bool isPrivate);
  /// Removes what was not put in place.
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  void Write(std::string_view text);
  /// Puts the file in place.
  void Finish();

 private:
  [[noreturn]] void Fail(int error) const;

  const std::string path_;
  const std::string temporary_;
  int file_;
};

}  // namespace csctl
