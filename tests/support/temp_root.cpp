#include "support/temp_root.h"

#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include "platform/host_paths.h"

TempRoot::TempRoot() : before_(HaldenLib::GetHostRoot()) {
  std::string name = (fs::temp_directory_path() / "configstore-test-XXXXXX").string();
  if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no temporary directory");
  path_ = name;
  HaldenLib::SetHostRoot(path_);
}

TempRoot::~TempRoot() {
  HaldenLib::SetHostRoot(before_);
  std::error_code ignored;
  fs::remove_all(path_, ignored);
}

std::string TempRoot::Write(const std::string& path, const std::string& content) const {
  const std::string real = Resolve(path);
  fs::create_directories(fs::path(real).parent_path());
  std::ofstream file(real, std::ios::binary);
  if (!(file << content).flush()) throw std::runtime_error("cannot write " + real);
  return real;
}

std::string TempRoot::Read(const std::string& path) const {
  std::ifstream file(Resolve(path), std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

std::vector<std::string> TempRoot::Syslog() const {
  std::vector<std::string> lines;
  std::ifstream file(Resolve("/var/log/syslog"));
  for (std::string line; std::getline(file, line);) lines.push_back(line);
  return lines;
}
