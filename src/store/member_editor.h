#pragma once

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "platform/rapidjson.h"

namespace OrvoConfigStore {

/// Up to this many members or elements looking through them beats an index.
constexpr size_t kIndexFrom = 32;

/// Changes the members of an object one by one in time linear in all of them:
/// above kIndexFrom it finds them through an index and takes removed ones out
/// all at once, in its destructor.
class MemberEditor {
 public:
  /// `changes` is the number of changes to come.
  MemberEditor(JsonValue& object, size_t changes, JsonAllocator& allocator);
  ~MemberEditor();
  MemberEditor(const MemberEditor&) = delete;
  MemberEditor& operator=(const MemberEditor&) = delete;

  /// Returns the first member `name`, or null; valid until the next change.
  JsonValue* Find(std::string_view name);
  /// Removes the member `name`, if there is one; the others keep their order.
  void Remove(std::string_view name);
  /// Adds a member at the end; `value` is moved from.
  JsonValue& Append(std::string_view name, JsonValue& value);

 private:
  JsonValue& object_;
  JsonAllocator& allocator_;
  bool indexed_;
  std::unordered_map<std::string, rapidjson::SizeType> positions_;
  std::vector<bool> removed_;  // by position; empty when none is
};

/// Finds elements of an array of instances by identifier, likewise.
class InstanceFinder {
 public:
  /// `lookUps` is the number of look-ups to come.
  InstanceFinder(JsonValue& elements, const std::string& idKey, size_t lookUps);

  /// Returns the first element that is identified by `id`, or null.
  JsonValue* Find(std::string_view id);
  /// Takes up the element that was appended last.
  void TakeLast();

 private:
  JsonValue& elements_;
  const std::string& idKey_;
  bool indexed_;
  std::unordered_map<std::string, rapidjson::SizeType> positions_;
};

/// Returns the identifier of an element. Throws "Invalid JSON" when it is no
/// object, 1032 when its member `idKey` is missing or no string.
std::string_view InstanceIdOf(const JsonValue& element, const std::string& idKey);

}  // namespace OrvoConfigStore
