#include "platform/host_settings.h"

#include <sys/utsname.h>

#include <charconv>
#include <map>
#include <memory>
#include <sstream>

#include "platform/host_files.h"
#include "platform/host_paths.h"
#include "platform/process_wide.h"

namespace HaldenLib {

namespace {

using Settings = std::map<std::string, std::string>;

struct Preferences {
  Settings values;
};

struct Features {
  std::string root;  // where they were read; another root has its own
  Settings switches;
};

std::string Trimmed(const std::string& text) {
  constexpr char kBlanks[] = " \t\r";
  const size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string::npos) return "";
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

/// Reads lines "name=value", blanks around both left out. A line without "="
/// says nothing; of two for one name the later one counts.
Settings ReadSettings(const char* path) {
  constexpr size_t kMostBytes = size_t{1} << 20;
  Settings settings;
  std::string text;
  if (ReadFile(path, kMostBytes, &text) != 0) return settings;
  std::istringstream file(text);
  for (std::string line; std::getline(file, line);) {
    const size_t equals = line.find('=');
    if (equals != std::string::npos) settings[Trimmed(line.substr(0, equals))] = Trimmed(line.substr(equals + 1));
  }
  return settings;
}

}  // namespace

int EnvironmentNumber(const char* name, int fallback) {
  const char* const text = secure_getenv(name);
  return text == nullptr ? fallback : NumberOr(text, fallback);
}

int NumberOr(const std::string& text, int fallback) {
  int number = 0;
  const char* const textEnd = text.data() + text.size();
  const auto [end, error] = std::from_chars(text.data(), textEnd, number);
  return error == std::errc() && end == textEnd ? number : fallback;
}

void Preference_Init() {
  ProcessWide<Preferences>::Exchange(std::make_shared<const Preferences>(Preferences{ReadSettings(kPreferencesFile)}));
}

void Preference_Exit() {
  ProcessWide<Preferences>::Exchange(nullptr);
}

std::string Preference_GetString(const std::string& key, const std::string& fallback) {
  const auto preferences = ProcessWide<Preferences>::Get();
  if (!preferences) return fallback;
  const auto found = preferences->values.find(key);
  return found == preferences->values.end() ? fallback : found->second;
}

int Preference_GetLong(const std::string& key, int fallback) {
  return NumberOr(Preference_GetString(key, ""), fallback);
}

void ProductState_Set(const ProductInfo& info) {
  ProcessWide<ProductInfo>::Exchange(std::make_shared<const ProductInfo>(info));
}

ProductInfo ProductState_Get() {
  const auto info = ProcessWide<ProductInfo>::Get();
  return info ? *info : ProductInfo();
}

std::string ProductState_GetBuildNumberString() {
  return "build-" + std::to_string(ProductState_Get().build);
}

std::string ProductState_GetCompilationOption() {
#ifdef NDEBUG
  return "Release";
#else
  return "Debug";
#endif
}

bool HostType_OSIsHaldenKernel() {
  utsname system = {};
  return uname(&system) == 0 && std::string("HaldenKernel") == system.sysname;
}

void FeatureState_Init() {
  ProcessWide<Features>::Exchange(
      std::make_shared<const Features>(Features{GetHostRoot(), ReadSettings(kFeaturesFile)}));
}

bool FeatureState_IsEnabled(const std::string& name) {
  auto features = ProcessWide<Features>::Get();
  if (!features || features->root != GetHostRoot()) {
    FeatureState_Init();
    features = ProcessWide<Features>::Get();
  }
  const auto found = features->switches.find(name);
  return found == features->switches.end() || found->second != "off";
}

}  // namespace HaldenLib
