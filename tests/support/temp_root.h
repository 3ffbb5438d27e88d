#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace fs = std::filesystem;

/// A host of its own for one test: an empty directory as the host root, removed
/// afterwards, the root before put back in force.
class TempRoot {
 public:
  TempRoot();
  ~TempRoot();
  TempRoot(const TempRoot&) = delete;
  TempRoot& operator=(const TempRoot&) = delete;

  const std::string& Path() const { return path_; }
  /// Returns where the host's `path` really is.
  std::string Resolve(const std::string& path) const { return path_ + path; }

  /// Writes a file of the host, with the directories it needs; returns where it is.
  std::string Write(const std::string& path, const std::string& content) const;
  /// Returns a file's content, empty when it does not exist.
  std::string Read(const std::string& path) const;
  /// Returns the lines of the host's syslog.
  std::vector<std::string> Syslog() const;

 private:
  std::string path_;
  std::string before_;
};
