#pragma once

#include <memory>
#include <string>
#include <vector>

#include "configstore/base_object.h"
#include "configstore/export.h"

namespace OrvoConfigStore {

class ConfigStoreObject;

/// Selects instances by a pattern: a JSON object whose members are the values
/// that an instance must hold. A member that is an object is a pattern for the
/// nested object of that name; no members match every instance. Null matches
/// only a stored null; arrays of an instance cannot be matched.
class CONFIGSTORE_API FilterSpecObject final : public WritableObject {
 public:
  /// A filter over the type; `data` is the pattern, shared. Null becomes an empty pattern.
  FilterSpecObject(const std::string& key, const std::string& group, const std::string& component,
                   const std::shared_ptr<JsonDoc>& data);
  /// An empty pattern over the type or, when `id` names one, over that instance.
  explicit FilterSpecObject(const ConfigStoreObjectId& id);
  FilterSpecObject(const ConfigStoreObjectId& id, const std::shared_ptr<JsonDoc>& data);

  /// Adds an empty pattern for the nested object and returns it, sharing this
  /// one's document. Throws ConfigStoreException(2000) when there is one already.
  std::shared_ptr<FilterSpecObject> CreateSubObjectFilter(const SubObjectId& sid);
  /// Returns the pattern for the nested object, or an empty pointer.
  std::shared_ptr<FilterSpecObject> GetSubObjectFilter(const SubObjectId& sid) const;
  /// Removes the pattern for the nested object and tells whether there was one.
  bool DeleteSubObjectFilter(const SubObjectId& sid);

 private:
  std::shared_ptr<FilterSpecObject> MakeSubFilter(const SubObjectId& sid) const;
};

/// Returns the objects that `filter` selects, in order. When the filter names an
/// instance, at most the first object of that name.
CONFIGSTORE_API std::vector<std::shared_ptr<ConfigStoreObject>> FilterConfigStoreObjects(
    std::vector<std::shared_ptr<ConfigStoreObject>>& objects, const std::shared_ptr<FilterSpecObject>& filter);

/// Whether the pointer is empty, which is then logged for the operation `what`.
CONFIGSTORE_API bool FsoIsEmpty(const std::shared_ptr<FilterSpecObject>& filter, const char* what);
CONFIGSTORE_API bool ObjIsEmpty(const std::shared_ptr<ConfigStoreObject>& object, const char* what);

}  // namespace OrvoConfigStore
