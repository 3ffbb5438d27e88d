#include "documents/findings.h"

#include <algorithm>

#include "api/describe.h"
#include "api/nearest_name.h"
#include "configstore/inspect.h"
#include "platform/json_values.h"
#include "store/fields.h"

namespace OrvoConfigStore {
namespace {

constexpr std::string_view kReferenceError = "REFERENCE ERROR: ";

// As many as an error array lists.
constexpr size_t kMaxFindings = 250'000;

const JsonValue* Keyword(const JsonValue* node, const char* keyword) {
  return node == nullptr || !node->IsObject() ? nullptr : FindValue(*node, keyword);
}

bool IsText(const JsonValue* value, std::string_view text) {
  return value != nullptr && value->IsString() && TextOf(*value) == text;
}

// The way from the root to a place, in the schema and in the data.
struct Way {
  const JsonValue* node;       // that describes the place; null where nothing does
  const JsonValue* container;  // that describes what the place is in
  std::string instance;        // identifier of the innermost element
};

Way FollowSteps(const JsonValue& schema, const std::vector<PlaceStep>& steps) {
  Way way{&schema, nullptr, {}};
  for (const PlaceStep& step : steps) {
    way.container = way.node;
    if (step.name != nullptr) {
      const JsonValue* properties = Keyword(way.node, "properties");
      way.node = properties == nullptr ? nullptr : FindValue(*properties, TextOf(*step.name));
      continue;
    }
    const JsonValue* idKey = Keyword(way.node, "instanceId");
    way.node = Keyword(way.node, "items");
    const JsonValue& element = (*step.container)[step.index];
    const JsonValue* id = idKey != nullptr && idKey->IsString() ? Keyword(&element, idKey->GetString()) : nullptr;
    if (id != nullptr && id->IsString()) way.instance = TextOf(*id);
  }
  return way;
}

bool IsMaskedSecret(const JsonValue& place, const JsonValue* node) {
  return IsText(&place, kSecretMask) && IsText(Keyword(node, "type"), "secret");
}

}  // namespace

FindingListener Findings::Errors(std::string path) {
  return [this, path = std::move(path)](const Finding& finding) { Take(finding, path, false); };
}

FindingListener Findings::Warnings(std::string path) {
  return [this, path = std::move(path)](const Finding& finding) {
    if (finding.message.compare(0, kReferenceError.size(), kReferenceError) == 0) Take(finding, path, true);
  };
}

void Findings::Take(const Finding& finding, const std::string& path, bool isWarning) {
  if (count_ == kMaxFindings) return;
  std::vector<Found>& here = found_[&finding.place];
  const bool isKnown = std::any_of(here.begin(), here.end(),
                                   [&](const Found& other) { return other.violation.error == finding.message; });
  if (isKnown) return;
  here.push_back({{path + finding.path, finding.message}, std::string(finding.member), isWarning});
  ++count_;
}

Diagnostic Findings::Explain(const Found& found, const JsonValue& place, const std::vector<PlaceStep>& steps,
                             const JsonValue& schema, const Enricher& enrich) {
  const Way way = FollowSteps(schema, steps);
  Diagnostic diagnostic;
  diagnostic.violation = found.violation;
  diagnostic.isWarning = found.isWarning;
  diagnostic.pointer = PointerOf(steps);
  diagnostic.instance = way.instance;
  enrich(steps, diagnostic);
  const bool isName = !steps.empty() && steps.back().name == &place;
  if (isName) {
    if (diagnostic.nearest.empty()) diagnostic.nearest = NearestName(found.member, PropertyNames(way.container));
  } else if (const JsonValue* rules = found.member.empty() ? way.node : PropertyOf(way.node, found.member)) {
    diagnostic.rule = DescribeRules(*rules);
  }
  return diagnostic;
}

std::vector<Diagnostic> Findings::Place(const std::string& text, const JsonValue& root, const JsonValue& schema,
                                        const Enricher& enrich) const {
  std::vector<Diagnostic> diagnostics;
  PositionCounter positions(text);
  VisitPlaces(text, root, [&](const JsonValue& place, const std::vector<PlaceStep>& steps, size_t offset) {
    const auto here = found_.find(&place);
    if (here == found_.end() || IsMaskedSecret(place, FollowSteps(schema, steps).node)) return;
    const TextPosition position = positions.At(offset);
    for (const Found& found : here->second) {
      diagnostics.push_back(Explain(found, place, steps, schema, enrich));
      diagnostics.back().line = position.line;
      diagnostics.back().column = position.column;
    }
  });
  return diagnostics;
}

}  // namespace OrvoConfigStore
