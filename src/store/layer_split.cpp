#include "store/layer_split.h"

#include <string_view>
#include <utility>

#include "configstore/errors.h"
#include "platform/json_values.h"

namespace OrvoConfigStore {
namespace {

Keyword MarkOf(Category category) {
  return category == Category::Vital ? Keyword::Vital : Keyword::Cached;
}

// Deliberate: here, unlike in validation, a keyword counts also when it is null.
bool Has(SchemaNode& node, Keyword keyword) {
  return node.FindAny(keyword) != nullptr;
}

bool IsTrue(SchemaNode& node, Keyword keyword) {
  const JsonValue* value = node.FindAny(keyword);
  return value != nullptr && value->IsTrue();
}

bool IsIdentifier(SchemaNode& node) {
  return IsTrue(node, Keyword::InstanceId);
}

bool IsOfType(SchemaNode& node, std::string_view word) {
  const JsonValue* type = node.FindAny(Keyword::Type);
  return type != nullptr && type->IsString() && TextOf(*type) == word;
}

// Whether an array's elements are objects, whose parts can belong to different categories.
bool HoldsObjects(SchemaNode& node) {
  const JsonValue* items = node.FindAny(Keyword::Items);
  return items != nullptr && items->IsObject() && IsOfType(*node.Items(), "object");
}

SchemaNode& PropertyOf(SchemaNode& node, std::string_view name) {
  SchemaNode* property = node.AnyProperty(name);
  if (property == nullptr) {
    throw ConfigStoreException(CS_GENERAL, ("Invalid field in schema: " + std::string(name)).c_str());
  }
  return *property;
}

// What the text of an object's user data takes, mostly; more is no harm.
constexpr size_t kUsualLength = 512;

// Writes the part of a value that belongs to one category. What turns out to hold
// nothing is taken back from the end of the text.
class PartWriter {
 public:
  PartWriter(Category category, std::string& out) : category_(category), out_(out) {}

  /// Returns whether the value belongs to the category at all.
  bool Keep(const JsonValue& value, SchemaNode& node) { return Write(value, node, ExtentOf(value, node)); }

 private:
  // How much of a value belongs to the category, as far as it shows without a look inside.
  enum class Extent { Nothing, Whole, SomeMembers, SomeElements };

  Extent ExtentOf(const JsonValue& value, SchemaNode& node) const {
    if (IsIdentifier(node)) return Extent::Whole;
    if (category_ != Category::User) {
      if (Has(node, MarkOf(category_))) return Extent::Whole;
    } else if (Has(node, Keyword::Vital) || Has(node, Keyword::Cached)) {
      return Extent::Nothing;
    }
    if (value.IsObject()) return Extent::SomeMembers;
    if (value.IsArray() && HoldsObjects(node)) return Extent::SomeElements;
    return category_ == Category::User ? Extent::Whole : Extent::Nothing;
  }

  bool Write(const JsonValue& value, SchemaNode& node, Extent extent) {
    switch (extent) {
      case Extent::Nothing:
        return false;
      case Extent::SomeMembers:
        return WriteMembers(value, node);
      case Extent::SomeElements:
        return WriteElements(value, node, *node.Items());
      default:
        if (!WriteJson(value, out_, depth_)) ThrowInvalidJson();
        return true;
    }
  }

  void Open(char bracket) {
    if (++depth_ > kMaxJsonDepth) ThrowInvalidJson();
    out_.push_back(bracket);
  }

  // Ends what begins at `begin`, or takes it back.
  bool Close(char bracket, size_t begin, bool keep) {
    --depth_;
    if (keep) {
      out_.push_back(bracket);
    } else {
      out_.resize(begin);
    }
    return keep;
  }

  bool WriteMembers(const JsonValue& object, SchemaNode& node) {
    const JsonValue* described = node.FindAny(Keyword::Properties);
    if (described == nullptr || !described->IsObject()) ThrowInvalidJson();
    const size_t begin = out_.size();
    size_t kept = 0;
    SchemaNode* keptLast = nullptr;
    Open('{');
    for (const auto& member : object.GetObject()) {
      SchemaNode& property = PropertyOf(node, TextOf(member.name));
      if (!WriteMember(member, property, kept == 0)) continue;
      ++kept;
      keptLast = &property;
    }
    return Close('}', begin, kept > 1 || (kept == 1 && MayStandAlone(*keptLast)));
  }

  bool WriteMember(const JsonValue::Member& member, SchemaNode& property, bool isFirst) {
    const Extent extent = ExtentOf(member.value, property);
    if (extent == Extent::Nothing) return false;
    const size_t begin = out_.size();
    if (!isFirst) out_.push_back(',');
    WriteJsonText(TextOf(member.name), out_);
    out_.push_back(':');
    const bool kept = Write(member.value, property, extent);
    if (!kept) out_.resize(begin);
    return kept;
  }

  // An identifier alone is worth keeping for "user" only.
  bool MayStandAlone(SchemaNode& property) const {
    return category_ == Category::User || IsTrue(property, MarkOf(category_)) || !IsIdentifier(property);
  }

  bool WriteElements(const JsonValue& elements, SchemaNode& node, SchemaNode& items) {
    if (!IsOfType(node, "array")) throw ConfigStoreException(CS_GENERAL, "Schema error:Expected array type");
    const size_t begin = out_.size();
    bool isEmpty = true;
    Open('[');
    for (const JsonValue& element : elements.GetArray()) {
      const size_t before = out_.size();
      if (!isEmpty) out_.push_back(',');
      if (Keep(element, items)) {
        isEmpty = false;
      } else {
        out_.resize(before);
      }
    }
    return Close(']', begin, !isEmpty);
  }

  const Category category_;
  std::string& out_;
  int depth_ = 0;
};

const JsonValue& DataOf(const ConfigStoreObject& object) {
  return *std::as_const(*object.GetJsonDocPtr()).GetJsonValuePtr();
}

}  // namespace

bool KeepForCategory(const JsonValue& value, SchemaNode& node, Category category, std::string& text) {
  return PartWriter(category, text).Keep(value, node);
}

std::string CategoryText(const JsonValue& data, SchemaNode& node, Category category) {
  std::string text;
  if (category == Category::User) text.reserve(kUsualLength);
  KeepForCategory(data, node, category, text);
  return text;
}

std::shared_ptr<JsonStorage> ExtractCategory(const JsonValue& data, SchemaNode& node, Category category) {
  const std::string text = CategoryText(data, node, category);
  if (text.empty()) return nullptr;
  auto part = std::make_shared<JsonStorage>(text.size());
  if (!ReadJson(text, part->document, nullptr)) ThrowInvalidJson();
  return part;
}

LayerValues BuildContextValues(const ConfigStoreObject& object, const SchemaObject& schema) {
  const JsonValue& data = DataOf(object);
  SchemaNode& node = ObjectNodeOf(schema);
  LayerValues values;
  values.user = CategoryText(data, node, Category::User);
  if (node.IsUserDataAlone()) return values;
  values.vital = CategoryText(data, node, Category::Vital);
  values.cached = CategoryText(data, node, Category::Cached);
  return values;
}

LayerValues BuildLayerValues(const ConfigStoreObject& object, const SchemaObject& schema, uint32_t context) {
  LayerValues values = BuildContextValues(object, schema);
  std::string user = std::exchange(values.user, {});
  if (context == 0) values.user = std::move(user);
  if (context == 1) values.autoConf = std::move(user);
  return values;
}

bool isUserType(const ConfigStoreObject& object, const SchemaObject& schema) {
  return !CategoryText(DataOf(object), ObjectNodeOf(schema), Category::User).empty();
}

}  // namespace OrvoConfigStore
