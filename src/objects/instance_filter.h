#pragma once

#include "configstore/config_store_object.h"
#include "configstore/filter_spec.h"

namespace OrvoConfigStore {

/// A filter as it is applied to one object after another. Refers to the filter.
class InstanceFilter {
 public:
  explicit InstanceFilter(const FilterSpecObject& filter);

  /// Whether the filter names no instance, or that of `object`.
  bool IsNamed(const ConfigStoreObject& object) const;
  /// Whether `object` holds the filter's values. Throws ConfigStoreException(2000)
  /// where the pattern needs an object and none is there.
  bool HasValues(const ConfigStoreObject& object) const;
  bool Takes(const ConfigStoreObject& object) const { return IsNamed(object) && HasValues(object); }

 private:
  const JsonValue& pattern_;
  const std::string& instanceId_;
};

}  // namespace OrvoConfigStore
