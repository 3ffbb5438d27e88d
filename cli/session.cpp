#include "session.h"

#include <configstore/host.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>
#include <iterator>

#include "failure.h"
#include "json_text.h"
#include "object_name.h"

namespace csctl {

using OrvoConfigStore::ConfigStore;

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
  if (store == nullptr) {
    OrvoConfigStore::StorageError error = OrvoConfigStore::LastStorageError();
    if (error.kind == OrvoConfigStore::StorageError::NONE) error.kind = OrvoConfigStore::StorageError::MISSING;
    throw CommandFailed(ExplainStorage(error));
  }
  return store;
}

std::string ReadInput(const std::string& path) {
  errno = 0;
  std::ifstream file;
  if (path != "-") file.open(path, std::ios::binary);
  std::istream& input = path == "-" ? std::cin : file;
  std::string content{std::istreambuf_iterator<char>(input), std::istreambuf_iterator<char>()};
  if (errno != 0 || !input) {
    const char* reason = errno != 0 ? std::strerror(errno) : "it cannot be read";
    throw CommandFailed({Exit::kUsage, reason, path == "-" ? "standard input" : path, "name a readable file with -f"});
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
