#include "output_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>

#include "failure.h"

namespace csctl {

namespace {

/// Brings a directory's entries to the disk; returns 0 or the errno.
int SyncDirectory(const std::string& path) {
  const int directory = open(path.empty() ? "." : path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  const int error = directory >= 0 && fsync(directory) == 0 ? 0 : errno;
  if (directory >= 0) close(directory);
  return error;
}

}  // namespace

OutputFile::OutputFile(const std::string& path, bool isPrivate)
    : path_(path), temporary_(path + ".new-" + std::to_string(getpid())) {
  if (std::filesystem::is_directory(path)) Fail(EISDIR);
  file_ = open(temporary_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, isPrivate ? 0600 : 0666);
  if (file_ < 0) Fail(errno);
}

OutputFile::~OutputFile() {
  if (file_ < 0) return;
  close(file_);
  unlink(temporary_.c_str());
}

void OutputFile::Write(std::string_view text) {
  while (!text.empty()) {
    const ssize_t written = write(file_, text.data(), text.size());
    if (written < 0 && errno != EINTR) Fail(errno);
    if (written > 0) text.remove_prefix(static_cast<size_t>(written));
  }
}

void OutputFile::Finish() {
  if (fsync(file_) != 0 || rename(temporary_.c_str(), path_.c_str()) != 0) Fail(errno);
  close(file_);
  file_ = -1;
  if (const int error = SyncDirectory(std::filesystem::path(path_).parent_path().string())) Fail(error);
}

void OutputFile::Fail(int error) const {
  const bool isStorage = error == ENOSPC || error == EIO || error == EDQUOT;
  throw CommandFailed({isStorage ? Exit::kStorage : Exit::kUsage, std::strerror(error), path_,
                       "name a file that can be written; one that was there is unchanged"});
}

}  // namespace csctl
