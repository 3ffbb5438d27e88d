#include "validation/references.h"

#include <utility>

namespace OrvoConfigStore {
namespace {

using PathSet = std::set<std::string, std::less<>>;

// Walks schema and data together.
void CollectPaths(SchemaNode& schema, const JsonValue& data, PathSet& paths) {
  if (const JsonValue* reference = schema.Find(Keyword::Reference)) paths.emplace(TextOf(*reference));
  if (data.IsObject()) {
    for (const auto& member : data.GetObject()) {
      if (SchemaNode* property = schema.Property(TextOf(member.name))) CollectPaths(*property, member.value, paths);
    }
  }
  SchemaNode* items = data.IsArray() ? schema.Items() : nullptr;
  if (items == nullptr) return;
  for (const JsonValue& element : data.GetArray()) CollectPaths(*items, element, paths);
}

// Walks the data alone, where a path of the set can still be met.
class Collector {
 public:
  explicit Collector(const PathSet& paths) : paths_(paths) {}

  void Visit(const JsonValue& value) {
    const auto path = paths_.lower_bound(path_);
    if (path == paths_.end() || path->compare(0, path_.size(), path_) != 0) return;
    if (value.IsString() && *path == path_) values[path_].emplace(TextOf(value));
    if (value.IsObject()) VisitMembers(value);
    if (!value.IsArray()) return;
    for (const JsonValue& element : value.GetArray()) Visit(element);
  }

  ReferenceValues values;

 private:
  void VisitMembers(const JsonValue& object) {
    const size_t parent = path_.size();
    for (const auto& member : object.GetObject()) {
      path_.append("/").append(TextOf(member.name));
      Visit(member.value);
      path_.resize(parent);
    }
  }

  const PathSet& paths_;
  std::string path_;
};

}  // namespace

ReferenceValues CollectReferenceValues(SchemaNode& schema, const JsonValue& data) {
  PathSet paths;
  CollectPaths(schema, data, paths);
  Collector collector(paths);
  collector.Visit(data);
  return std::move(collector.values);
}

}  // namespace OrvoConfigStore
