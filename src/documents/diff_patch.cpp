#include <map>
#include <unordered_map>
#include <utility>

#include "api/secrets.h"
#include "configstore/diff.h"
#include "documents/diff_side.h"
#include "platform/json_members.h"
#include "platform/json_pointer.h"
#include "store/fields.h"

/// The JSON Patch from one document to another.
///
/// In an array of instances, removals come first, from the end, so that the places
/// before them stay; what remains is changed in its place; then what is new is
/// added at its place in the new array, from the front, which is never behind the
/// end of what is there by then.

namespace OrvoConfigStore {
namespace {

using Values = std::vector<const JsonValue*>;

std::string Written(const JsonValue& value) {
  std::string text;
  if (!WriteJson(value, text)) ThrowInvalidJson();
  return text;
}

std::string Quoted(const std::string& text) {
  JsonValue value(rapidjson::StringRef(text.data(), static_cast<rapidjson::SizeType>(text.size())));
  return Written(value);
}

std::string Below(const std::string& path, std::string_view step) {
  std::string below = path;
  AppendStep(below, step);
  return below;
}

// The objects of one type on both sides, in the order of their documents.
struct TypePair {
  std::shared_ptr<SchemaObject> schema;
  Values from;
  Values to;
};

using Types = std::map<std::string, TypePair>;
using Groups = std::map<std::string, Types>;
using Components = std::map<std::string, Groups>;

class PatchWriter {
 public:
  explicit PatchWriter(bool withSecrets) : withSecrets_(withSecrets) {}

  void Take(const ReadSide& side, Values TypePair::*values) {
    for (const SideObject& object : side.objects) {
      TypePair& pair = components_[object.id.component][object.id.group][object.id.key];
      pair.schema = object.schema;
      (pair.*values).push_back(object.data);
    }
  }

  std::string Write() {
    PatchMap("/components", components_);
    return "[" + operations_ + "]";
  }

 private:
  static bool Has(const TypePair& pair, Values TypePair::*values) { return !(pair.*values).empty(); }
  template <class Map>
  static bool Has(const std::map<std::string, Map>& map, Values TypePair::*values) {
    for (const auto& [name, below] : map) {
      if (Has(below, values)) return true;
    }
    return false;
  }

  // The text of what the new side has.
  std::string New(const TypePair& pair) const {
    if (pair.schema->IsSingleton()) return Shown(*pair.to.front(), pair.schema->GetObjectNode());
    std::string text;
    for (const JsonValue* value : pair.to) {
      text += (text.empty() ? "" : ",") + Shown(*value, pair.schema->GetObjectNode());
    }
    return "[" + text + "]";
  }
  template <class Map>
  std::string New(const std::map<std::string, Map>& map) const {
    std::string text;
    for (const auto& [name, below] : map) {
      if (Has(below, &TypePair::to)) text += (text.empty() ? "" : ",") + Quoted(name) + ":" + New(below);
    }
    return "{" + text + "}";
  }

  template <class Map>
  void PatchMap(const std::string& path, const Map& map) {
    for (const auto& [name, below] : map) {
      const std::string place = Below(path, name);
      if (!Has(below, &TypePair::from)) {
        Operation("add", place, New(below));
      } else if (!Has(below, &TypePair::to)) {
        Operation("remove", place, "");
      } else {
        PatchBoth(place, below);
      }
    }
  }

  template <class Map>
  void PatchBoth(const std::string& path, const std::map<std::string, Map>& map) {
    PatchMap(path, map);
  }
  void PatchBoth(const std::string& path, const TypePair& pair) {
    idMap_ = &pair.schema->GetIdMap()->document;
    const JsonValue& node = pair.schema->GetObjectNode();
    if (pair.schema->IsSingleton()) return PatchMembers(path, *pair.from.front(), *pair.to.front(), node);
    PatchInstances(path, pair.from, pair.to, TextOf(*FindValue(pair.schema->GetJson(), "instanceId")), node);
  }

  void PatchInstances(const std::string& path, const Values& from, const Values& to, std::string_view idKey,
                      const JsonValue& node) {
    const auto index = [idKey](const Values& values) {
      std::unordered_map<std::string_view, const JsonValue*> byId;
      for (const JsonValue* value : values) byId.emplace(TextOf(*FindValue(*value, idKey)), value);
      return byId;
    };
    const auto byOldId = index(from), byNewId = index(to);
    const auto idOf = [idKey](const JsonValue* value) { return TextOf(*FindValue(*value, idKey)); };
    for (size_t i = from.size(); i-- > 0;) {
      if (byNewId.count(idOf(from[i])) == 0) Operation("remove", Below(path, std::to_string(i)), "");
    }
    size_t place = 0;
    for (const JsonValue* value : from) {
      const auto found = byNewId.find(idOf(value));
      if (found != byNewId.end()) PatchMembers(Below(path, std::to_string(place++)), *value, *found->second, node);
    }
    for (size_t i = 0; i < to.size(); ++i) {
      if (byOldId.count(idOf(to[i])) == 0) Operation("add", Below(path, std::to_string(i)), Shown(*to[i], node));
    }
  }

  void PatchMembers(const std::string& path, const JsonValue& from, const JsonValue& to, const JsonValue& node) {
    MemberIndex old(from), now(to);
    for (const auto& member : from.GetObject()) {
      const std::string_view name = TextOf(member.name);
      const MemberIndex::Member* other = now.Find(name);
      if (other == nullptr) {
        Operation("remove", Below(path, name), "");
      } else {
        PatchValue(Below(path, name), name, member.value, other->value, PropertyOf(&node, name));
      }
    }
    for (const auto& member : to.GetObject()) {
      const std::string_view name = TextOf(member.name);
      if (old.Find(name) != nullptr) continue;
      Operation("add", Below(path, name), Shown(member.value, OrNone(PropertyOf(&node, name))));
    }
  }

  void PatchValue(const std::string& path, std::string_view name, const JsonValue& from, const JsonValue& to,
                  const JsonValue* property) {
    const JsonValue& node = OrNone(property);
    if (from.IsObject() && to.IsObject()) return PatchMembers(path, from, to, node);
    const JsonValue* idKey = InstanceKeyOf(name, from, property, idMap_);
    if (idKey != nullptr && InstanceKeyOf(name, to, property, idMap_) != nullptr) {
      const JsonValue* items = FindValue(node, "items");
      return PatchInstances(path, Elements(from), Elements(to), TextOf(*idKey), items == nullptr ? node : *items);
    }
    if (Written(from) != Written(to)) Operation("replace", path, Shown(to, node));
  }

  static Values Elements(const JsonValue& array) {
    Values values;
    for (const JsonValue& element : array.GetArray()) values.push_back(&element);
    return values;
  }

  static const JsonValue& OrNone(const JsonValue* node) {
    static const JsonValue kNone(rapidjson::kObjectType);
    return node == nullptr ? kNone : *node;
  }

  std::string Shown(const JsonValue& value, const JsonValue& node) const {
    if (withSecrets_ || !HoldsSecret(&node)) return Written(value);
    const auto copy = CopyToStorage(value);
    MaskSecretValues(copy->document, node);
    return Written(copy->document);
  }

  void Operation(const char* name, const std::string& path, const std::string& value) {
    operations_ += operations_.empty() ? "" : ",";
    operations_ += std::string("{\"op\":\"") + name + "\",\"path\":" + Quoted(path);
    operations_ += value.empty() ? "}" : ",\"value\":" + value + "}";
  }

  const bool withSecrets_;
  const JsonValue* idMap_ = nullptr;  // of the type under way
  Components components_;
  std::string operations_;
};

}  // namespace

std::string DiffPatch(const DiffSide& from, const DiffSide& to, bool withSecrets) {
  const ReadSide before = ReadDiffSide(from), after = ReadDiffSide(to);
  PatchWriter patch(withSecrets);
  patch.Take(before, &TypePair::from);
  patch.Take(after, &TypePair::to);
  return patch.Write();
}

}  // namespace OrvoConfigStore
