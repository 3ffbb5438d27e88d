#pragma once

#include <functional>
#include <string>
#include <unordered_map>
#include <vector>

#include "configstore/diagnostics.h"
#include "documents/text_places.h"
#include "platform/schema_store.h"
#include "validation/walk.h"

/// From what a walk finds to what people read: each finding is placed in the text,
/// and explained by its schema node.

namespace OrvoConfigStore {

using OrvoSchemaStore::SchemaObject;

/// Findings by the value that they are about.
class Findings {
 public:
  /// Returns a listener that takes violations, their paths below `path`.
  FindingListener Errors(std::string path = {});
  /// Returns one that takes references to nothing, and no other violation.
  FindingListener Warnings(std::string path);

  /// Adds to a diagnostic what the kind of text tells: `steps` lead to its place.
  using Enricher = std::function<void(const std::vector<PlaceStep>& steps, Diagnostic& diagnostic)>;

  /// Returns all of them in the order of `text`, of which `root` was parsed; `schema`
  /// is that of `root`.
  std::vector<Diagnostic> Place(const std::string& text, const JsonValue& root, const JsonValue& schema,
                                const Enricher& enrich) const;

 private:
  struct Found {
    ErrorInfo violation;
    std::string member;
    bool isWarning = false;
  };
  void Take(const Finding& finding, const std::string& path, bool isWarning);
  static Diagnostic Explain(const Found& found, const JsonValue& place, const std::vector<PlaceStep>& steps,
                            const JsonValue& schema, const Enricher& enrich);

  std::unordered_map<const JsonValue*, std::vector<Found>> found_;
  size_t count_ = 0;
};

}  // namespace OrvoConfigStore
