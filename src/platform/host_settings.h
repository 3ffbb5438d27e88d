#pragma once

#include <string>

/// What the host has been told: preferences, the product, feature switches.

namespace HaldenLib {

/// Returns the decimal number that all of `text` is, or `fallback` when it is none.
int NumberOr(const std::string& text, int fallback);

/// Returns the number that an environment variable holds, or `fallback`; set-id
/// programs have none.
int EnvironmentNumber(const char* name, int fallback);

/// Reads the preferences, lines "key=value" of their file; a missing file has none.
void Preference_Init();
void Preference_Exit();
/// Returns the value of `key`, or `fallback` when there is none.
std::string Preference_GetString(const std::string& key, const std::string& fallback);
int Preference_GetLong(const std::string& key, int fallback);

/// Which product this process belongs to.
struct ProductInfo {
  std::string product;
  std::string version;
  unsigned build = 0;
  std::string productName;
  std::string productVersion;
};
void ProductState_Set(const ProductInfo& info);
ProductInfo ProductState_Get();
std::string ProductState_GetBuildNumberString();
std::string ProductState_GetCompilationOption();

/// Whether this host runs the maker's own kernel, which keeps its logs in /var/log.
bool HostType_OSIsHaldenKernel();

/// Reads the feature switches, lines "Name=off" of their file.
void FeatureState_Init();
/// Whether a feature is on: yes, unless its line says "off". Reads the file on first use.
bool FeatureState_IsEnabled(const std::string& name);

constexpr char kFeatureStore[] = "ConfigStore";
constexpr char kFeatureUpgrade[] = "ConfigStoreUpgrade";
constexpr char kFeatureRestore[] = "ConfigStoreRestore";

}  // namespace HaldenLib
