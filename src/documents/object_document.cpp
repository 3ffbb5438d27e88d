#include <algorithm>
#include <tuple>
#include <utility>

#include "api/checks.h"
#include "configstore/documents.h"
#include "configstore/errors.h"
#include "documents/document_stream.h"
#include "documents/parsed_document.h"
#include "validation/action_rules.h"

/// Documents of objects that are in memory.

namespace OrvoConfigStore {
namespace {

void RequireNone(const std::vector<ErrorInfo>& errors) {
  if (!errors.empty()) throw ValidationException(CS_GENERAL, "The document cannot be used.", errors);
}

// The order of a document.
std::tuple<const std::string&, const std::string&, const std::string&, const std::string&> PlaceInOrder(
    const std::shared_ptr<ConfigStoreObject>& object) {
  const ConfigStoreObjectId& id = object->GetId();
  return std::tie(id.component, id.group, id.key, id.instanceId);
}

}  // namespace

std::vector<std::shared_ptr<ConfigStoreObject>> ReadDocument(const std::string& text) {
  const ParsedDocument document = ParseDocument(text);
  JsonStorage& storage = *document.storage;
  std::vector<ErrorInfo> errors;
  FindNullsAndRepeats(document, AppendTo(errors));
  const auto schema = AssembleDocumentSchema(storage.document, document.schemas, TypeNodes::Shape);
  const auto found = FindViolations(WriteKind::ApplyFile, schema->document, storage.document, storage.allocator);
  errors.insert(errors.end(), found.begin(), found.end());
  RequireNone(errors);
  for (const TypeEntry& entry : document.entries) {
    NameInstances(entry, storage.allocator);
    CheckNames(entry, AppendTo(errors));
  }
  RequireNone(errors);
  ObjectList objects;
  for (const TypeEntry& entry : document.entries) {
    ForEachObject(entry, [&](const JsonValue& data) { objects.push_back(MakeObject(entry, IdOf(entry, data), data)); });
  }
  return objects;
}

std::string WriteDocument(const std::vector<std::shared_ptr<ConfigStoreObject>>& objects, EXPORT_SECRETS secrets,
                          DOCUMENT_LAYOUT layout) {
  ObjectList sorted = objects;
  std::stable_sort(sorted.begin(), sorted.end(),
                   [](const auto& a, const auto& b) { return PlaceInOrder(a) < PlaceInOrder(b); });
  std::string text;
  const DocumentSink sink = [&text](std::string_view part) { text += part; };
  const auto stream = DocumentStream::Make(sink, layout);
  for (const std::shared_ptr<ConfigStoreObject>& object : sorted) {
    const std::shared_ptr<SchemaObject> schema = LookUpSchema(object->GetId());
    CheckSchema(object->GetId(), schema);
    const auto copy = CopyToStorage(*std::as_const(*object->GetJsonDocPtr()).GetJsonValuePtr());
    if (schema->HasSecrets()) ApplySecrets(secrets, copy->document, schema->GetObjectNode());
    stream->Add(object->GetId(), schema->IsSingleton(), copy->document);
  }
  stream->Finish();
  return text;
}

}  // namespace OrvoConfigStore
