#include "support/log_capture.h"

#include <algorithm>
#include <sstream>

#include "configstore/logging.h"

namespace {

constexpr char kName[] = "test";
constexpr char kFile[] = "/tmp/test.log";

std::string WithoutPrefix(const std::string& line) {
  const size_t end = line.find(":] ");
  return line.rfind("[ConfigStore:", 0) == 0 && end != std::string::npos ? line.substr(end + 3) : line;
}

}  // namespace

LogCapture::LogCapture(const TempRoot& root) : root_(root), start_(root.Read(kFile).size()) {
  CSLogger::LogInit(kName);
}

LogCapture::~LogCapture() {
  CSLogger::LogExit();
}

std::vector<std::string> LogCapture::RawLines() const {
  std::vector<std::string> lines;
  std::istringstream logged(root_.Read(kFile).substr(start_));
  for (std::string line; std::getline(logged, line);) lines.push_back(line);
  return lines;
}

std::vector<std::string> LogCapture::Lines() const {
  std::vector<std::string> lines = RawLines();
  for (std::string& line : lines) line = WithoutPrefix(line);
  return lines;
}

bool LogCapture::Has(const std::string& words) const {
  const std::vector<std::string> lines = Lines();
  return std::any_of(lines.begin(), lines.end(), [&](const auto& line) { return line.find(words) != line.npos; });
}
