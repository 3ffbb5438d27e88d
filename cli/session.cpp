#include "session.h"

#include <configstore/host.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iostream>

#include "failure.h"
#include "json_text.h"
#include "object_name.h"

namespace csctl {

using OrvoConfigStore::ConfigStore;
using OrvoConfigStore::StorageError;

void Session::Print(const std::string& line) const {
  if (!quiet) std::cout << line << "\n";
}

std::string Session::ShowJson(const std::string& text) const {
  const std::string laidOut = json ? text : IndentJson(text);
  return onTerminal ? ShieldJson(laidOut) : laidOut;
}

void Session::PrintJson(const std::string& text) const {
  Print(ShowJson(text));
}

void Session::PrintResult(const std::string& line, const std::string& text) const {
  Print(json ? text : line);
}

OrvoConfigStore::ConfigStoreObjectId Session::TakeObject(const std::string& name) {
  where = name;
  const auto id = ParseObjectName(name);
  where = ObjectName(id);
  return id;
}

std::shared_ptr<ConfigStore> OpenStore() {
  auto store = ConfigStore::GetStore("");
  // A store file that is there and cannot be opened gives a handle; what is
  // wrong with it is known now, and no longer after the next call.
  StorageError error = OrvoConfigStore::LastStorageError();
  if (store == nullptr && error.kind == StorageError::NONE) error.kind = StorageError::MISSING;
  if (error.kind != StorageError::NONE) throw CommandFailed(ExplainStorage(error));
  return store;
}

std::string ReadInput(const std::string& path) {
  const bool isStandardInput = path == "-";
  const int file = isStandardInput ? STDIN_FILENO : open(path.c_str(), O_RDONLY | O_CLOEXEC);
  std::string content;
  char part[65536];
  ssize_t length = file < 0 ? -1 : 0;
  while (file >= 0 && (length = read(file, part, sizeof part)) > 0) content.append(part, static_cast<size_t>(length));
  const char* reason = std::strerror(errno);
  if (file >= 0 && !isStandardInput) close(file);
  if (length < 0) {
    throw CommandFailed({Exit::kUsage, reason, isStandardInput ? "standard input" : path, "name a readable file"});
  }
  return content;
}

std::vector<std::string> AlignColumns(const std::vector<std::vector<std::string>>& rows) {
  std::vector<size_t> widths;
  for (const auto& row : rows) {
    widths.resize(std::max(widths.size(), row.size()));
    for (size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], row[i].size());
  }
  std::vector<std::string> lines;
  for (const auto& row : rows) {
    std::string line;
    for (size_t i = 0; i + 1 < row.size(); ++i) line += row[i] + std::string(widths[i] - row[i].size() + 2, ' ');
    lines.push_back(line + row.back());
  }
  return lines;
}

}  // namespace csctl
