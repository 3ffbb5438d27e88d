#include <string>
#include <string_view>
#include <utility>

#include "api/checks.h"
#include "api/nearest_name.h"
#include "configstore/diagnostics.h"
#include "documents/findings.h"
#include "documents/parsed_document.h"
#include "documents/unstorable.h"
#include "validation/action_rules.h"
#include "validation/validator.h"

namespace OrvoConfigStore {
namespace {

// Indexed by DIAGNOSE_FOR: whose checks count, and whether the text holds all that
// a reference in it may name.
struct Use {
  WriteKind kind;
  bool isWhole;
  bool isSplit = true;  // into layers, by the write
};

const Use kUses[] = {
    {WriteKind::SetFromOutside, true},  {WriteKind::SetByHost, true},      {WriteKind::Update, false},
    {WriteKind::User, false},           {WriteKind::Auto, false},          {WriteKind::Vital, false},
    {WriteKind::Cached, false},         {WriteKind::ImportDocument, true}, {WriteKind::ApplyFile, false},
    {WriteKind::Document, true, false},
};

constexpr CheckSelection kReferences = {CHECK_REFERENCES};

bool HasReference(const JsonValue& node) {
  if (!node.IsObject()) return false;
  for (const auto& member : node.GetObject()) {
    if (TextOf(member.name) == "reference" || HasReference(member.value)) return true;
  }
  return false;
}

// What is wrong with a text that is not JSON.
Diagnostic Unreadable(const std::string& text, const JsonReadFailure& failure) {
  const TextPosition position = PositionCounter(text).At(failure.offset);
  Diagnostic diagnostic;
  diagnostic.violation.error = failure.reason;
  diagnostic.line = position.line;
  diagnostic.column = position.column;
  return diagnostic;
}

// --- documents ---

// The parts of a place in a document, "components" the first.
constexpr size_t kTypeSteps = 4;

ConfigStoreObjectId TypeAt(const std::vector<PlaceStep>& steps) {
  const auto name = [&](size_t step) { return std::string(TextOf(*steps[step].name)); };
  return {name(3), name(2), name(1)};
}

std::string TypeName(const std::string& component, const std::string& group, const std::string& key) {
  return component + "/" + group + "/" + key;
}

class DocumentDiagnosis {
 public:
  DocumentDiagnosis(const std::string& text, ParsedDocument& document, const Use& use)
      : text_(text), document_(document), use_(use) {}

  std::vector<Diagnostic> Run() {
    JsonDocument& data = document_.storage->document;
    const auto schema = AssembleDocumentSchema(data, document_.schemas);
    VisitViolations(schema->document, data, ChecksOf(use_.kind), document_.storage->allocator, findings_.Errors());
    FindNullsAndRepeats(document_, findings_.Errors());
    if (use_.isSplit) FindUndescribed(data, schema->document, "", findings_.Errors());
    for (const TypeEntry& entry : document_.entries) VisitEntry(entry);
    for (const auto& record : OrvoSchemaStore::SchemaStore::GetStore()->ListSchemas()) {
      types_.push_back(TypeName(record.component, record.group, record.key));
    }
    return findings_.Place(text_, data, schema->document,
                           [this](const auto& steps, Diagnostic& diagnostic) { Enrich(steps, diagnostic); });
  }

 private:
  void VisitEntry(const TypeEntry& entry) {
    CheckNames(entry, findings_.Errors());
    if (!use_.isWhole || !HasReference(entry.schema->GetJson())) return;
    const FindingListener warnings = findings_.Warnings(entry.Path());
    ForEachObject(entry, [&](const JsonValue& data) {
      VisitViolations(entry.schema->GetObjectNode(), data, kReferences, document_.storage->allocator, warnings);
    });
  }

  void Enrich(const std::vector<PlaceStep>& steps, Diagnostic& diagnostic) const {
    if (steps.size() < kTypeSteps) return;
    const ConfigStoreObjectId type = TypeAt(steps);
    const auto schema = document_.schemas.find(type);
    if (schema == document_.schemas.end()) {
      const std::vector<std::string_view> names(types_.begin(), types_.end());
      diagnostic.nearest = NearestName(TypeName(type.component, type.group, type.key), names);
      return;
    }
    diagnostic.object = type;
    if (steps.size() == kTypeSteps || steps[kTypeSteps].name != nullptr) return;
    const PlaceStep& element = steps[kTypeSteps];
    diagnostic.object = IdOf({type, schema->second, nullptr}, (*element.container)[element.index]);
  }

  const std::string& text_;
  ParsedDocument& document_;
  const Use& use_;
  Findings findings_;
  std::vector<std::string> types_;
};

// What keeps a value from being a document at all.
std::vector<Diagnostic> DiagnoseForm(const std::string& text, JsonStorage& storage, const Use& use) {
  JsonStorage empty;
  ReadJson(R"({"components":{}})", empty.document, nullptr);
  const auto schema = AssembleDocumentSchema(empty.document, {});
  Findings findings;
  VisitViolations(schema->document, storage.document, ChecksOf(use.kind), storage.allocator, findings.Errors());
  // The validator takes a null for any value.
  const JsonValue* null =
      storage.document.IsObject() ? FindValue(std::as_const(storage.document), "components") : &storage.document;
  if (null != nullptr && null->IsNull()) findings.Errors()({*null, {}, "", "INCORRECT TYPE: expected object."});
  return findings.Place(text, storage.document, schema->document, [](const auto&, Diagnostic&) {});
}

}  // namespace

std::optional<Diagnostic> FindSyntaxError(const std::string& text) {
  JsonReadFailure failure;
  const std::shared_ptr<JsonStorage> storage = ReadDocumentText(text, &failure);
  if (storage == nullptr) return Unreadable(text, failure);
  Findings repeats;
  FindRepeat(storage->document, "", repeats.Errors());
  const JsonValue anything(rapidjson::kObjectType);
  const auto found = repeats.Place(text, storage->document, anything, [](const auto&, Diagnostic&) {});
  return found.empty() ? std::nullopt : std::optional(found.front());
}

std::vector<Diagnostic> DiagnoseDocument(const std::string& text, DIAGNOSE_FOR use) {
  ParsedDocument document;
  JsonReadFailure failure;
  document.storage = ReadDocumentText(text, &failure);
  if (document.storage == nullptr) return {Unreadable(text, failure)};
  const JsonValue& data = document.storage->document;
  const JsonValue* components = data.IsObject() ? FindValue(data, "components") : nullptr;
  if (components == nullptr || !components->IsObject()) return DiagnoseForm(text, *document.storage, kUses[use]);
  FindTypes(document);
  return DocumentDiagnosis(text, document, kUses[use]).Run();
}

std::vector<Diagnostic> DiagnoseObject(const ConfigStoreObjectId& id, const std::string& text, DIAGNOSE_FOR use) {
  const std::shared_ptr<SchemaObject> schema = LookUpSchema(id);
  CheckSchema(id, schema);
  JsonReadFailure failure;
  const std::shared_ptr<JsonStorage> storage = ReadDocumentText(text, &failure);
  if (storage == nullptr) return {Unreadable(text, failure)};
  const bool isList = storage->document.IsArray() && !schema->IsSingleton();
  const JsonValue& node = isList ? schema->GetJson() : schema->GetObjectNode();
  TypeEntry entry{{id.key, id.group, id.component}, schema, &storage->document};
  Findings findings;
  VisitViolations(node, storage->document, ChecksOf(kUses[use].kind), storage->allocator, findings.Errors());
  FindRepeat(storage->document, "", findings.Errors());
  if (kUses[use].isSplit) FindUndescribed(storage->document, node, "", findings.Errors());
  if (kUses[use].isWhole && HasReference(schema->GetJson())) {
    ForEachObject(entry, [&](const JsonValue& data) {
      VisitViolations(schema->GetObjectNode(), data, kReferences, storage->allocator, findings.Warnings(""));
    });
  }
  return findings.Place(text, storage->document, node, [&](const auto& steps, Diagnostic& diagnostic) {
    diagnostic.object = isList && !steps.empty() ? IdOf(entry, storage->document[steps.front().index]) : id;
  });
}

}  // namespace OrvoConfigStore
