#include "documents/diff_side.h"

#include <algorithm>
#include <tuple>
#include <utility>

#include "api/checks.h"
#include "configstore/errors.h"
#include "platform/rehearsal.h"
#include "store/connection.h"
#include "store/statements.h"
#include "store/store_contents.h"

namespace OrvoConfigStore {
namespace {

// Has the thread's connections lead to a copy of a backup.
class BackupInPlace {
 public:
  explicit BackupInPlace(const std::string& path) {
    if (DBStore::BeginReading(path) != nullptr) return;
    throw ConfigStoreException(CS_GENERAL, ("Cannot compare: " + DBStore::LastFailure().message).c_str());
  }
  ~BackupInPlace() { DBStore::EndRehearsal(); }
  BackupInPlace(const BackupInPlace&) = delete;
  BackupInPlace& operator=(const BackupInPlace&) = delete;
};

// The objects of a text that Export wrote: their types are registered.
ReadSide OfExport(EXPORT_LAYER layer) {
  ReadSide side;
  std::string text;
  ExportOptions options;
  options.layer = layer;
  options.secrets = SECRETS_INCLUDED;
  side.leftOut = Export(options, [&text](std::string_view part) { text += part; }).leftOut;
  const ParsedDocument document = ParseDocument(text);
  side.kept.push_back(document.storage);
  for (const TypeEntry& entry : document.entries) {
    ForEachObject(entry, [&](const JsonValue& data) {
      side.objects.push_back({IdOf(entry, data), entry.schema, &data});
    });
  }
  return side;
}

ReadSide OfObjects(const ObjectList& objects) {
  ReadSide side;
  for (const std::shared_ptr<ConfigStoreObject>& object : objects) {
    const ConfigStoreObjectId& id = object->GetId();
    const std::shared_ptr<SchemaObject> schema = LookUpSchema(id);
    if (schema == nullptr) {
      side.leftOut.push_back({{id.key, id.group, id.component}, "the type is not registered", 1});
      continue;
    }
    const std::shared_ptr<JsonDoc> doc = object->GetJsonDocPtr();
    side.objects.push_back({id, schema, std::as_const(*doc).GetJsonValuePtr()});
    side.kept.push_back(doc);
  }
  return side;
}

ReadSide OfTable(const char* table) {
  ReadSide side = OfObjects(GetConfigStoreObjects(table, false, GetConn()));
  std::sort(side.objects.begin(), side.objects.end(),
            [](const SideObject& a, const SideObject& b) { return IsBefore(a.id, b.id); });
  return side;
}

}  // namespace

bool IsBefore(const ConfigStoreObjectId& a, const ConfigStoreObjectId& b) {
  return std::tie(a.component, a.group, a.key, a.instanceId) < std::tie(b.component, b.group, b.key, b.instanceId);
}

ReadSide ReadDiffSide(const DiffSide& side) {
  switch (side.kind) {
    case DiffSide::STORE:
      return OfExport(EXPORT_EFFECTIVE);
    case DiffSide::USER:
      return OfExport(EXPORT_USER);
    case DiffSide::AUTO:
      return OfExport(EXPORT_AUTO);
    case DiffSide::VITAL:
      return OfExport(EXPORT_VITAL);
    case DiffSide::CACHED:
      return OfExport(EXPORT_CACHED);
    case DiffSide::DESIRED:
      return OfExport(EXPORT_DESIRED);
    case DiffSide::STAGED:
      return OfTable(kDesiredUserConfigTable);
    case DiffSide::DEFAULTS:
      return OfTable(kDefaultConfigTable);
    case DiffSide::DOCUMENT:
      return OfObjects(ReadDocument(side.value));
    case DiffSide::BACKUP: {
      const BackupInPlace backup(side.value);
      return OfExport(EXPORT_EFFECTIVE);
    }
  }
  throw InvalidArgumentException(CS_GENERAL, "There is no such side to compare");
}

}  // namespace OrvoConfigStore
