#pragma once

#include <configstore/configstore.h>

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

/// What the benchmarks work on: one type with instances, its objects of about
/// 300 bytes, and a store that holds some of them in a host root of its own.

namespace bench {

using OrvoConfigStore::ConfigStore;
using OrvoConfigStore::ConfigStoreObject;
using OrvoConfigStore::ConfigStoreObjectId;

using ObjectList = std::vector<std::shared_ptr<ConfigStoreObject>>;

/// Where the store lies on the host.
constexpr char kStoreFile[] = "/etc/halden/configstore/current-store-1";

/// The type as a whole, and its instance number `index`.
ConfigStoreObjectId SampleType();
ConfigStoreObjectId SampleId(size_t index);

/// Returns the JSON text of an instance, as the store writes it.
std::string SampleText(size_t index);

/// Returns the instances 0 to `count` - 1.
ObjectList SampleObjects(size_t count);

/// Returns the numbers 0 to `count` - 1 in a random order, the same in every run.
std::vector<size_t> RandomOrder(size_t count);

/// A host with the type registered, logging set up to write warnings and errors,
/// and an open store. Removed with everything in it afterwards.
class SampleHost {
 public:
  /// Stores the instances 0 to `count` - 1.
  explicit SampleHost(size_t count);
  ~SampleHost();
  SampleHost(const SampleHost&) = delete;
  SampleHost& operator=(const SampleHost&) = delete;

  ConfigStore& operator*() const { return *store_; }
  ConfigStore* operator->() const { return store_.get(); }
  const std::shared_ptr<ConfigStore>& Store() const { return store_; }
  /// Returns a path for a file that goes with the host.
  std::string FileBeside(const std::string& name) const { return root_ + "/" + name; }

 private:
  std::string root_;
  std::shared_ptr<ConfigStore> store_;
};

}  // namespace bench
