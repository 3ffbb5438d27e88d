#include <algorithm>
#include <string>
#include <utility>

#include "api/checks.h"
#include "configstore/documents.h"
#include "configstore/errors.h"
#include "documents/document_stream.h"
#include "objects/json_access.h"
#include "store/connection.h"
#include "store/layer_split.h"
#include "store/reading.h"
#include "store/statements.h"

namespace OrvoConfigStore {
namespace {

constexpr size_t kProgressStep = 1000;

// Indexed by EXPORT_LAYER.
constexpr const char* kLayerColumns[] = {nullptr, kAutoConfValue, kUserValue, kVitalValue, kCachedValue, kDesiredValue};

[[noreturn]] void Throw(const std::string& cause) {
  throw ConfigStoreException(CS_EXPORT_FAILED, ("Export operation failed: " + cause).c_str());
}

bool IsOfType(const ConfigStoreObjectId& id, const ConfigStoreObjectId& type) {
  return id.key == type.key && id.group == type.group && id.component == type.component;
}

// Whether there is an object or a list without content in a value.
bool HoldsEmpty(const JsonValue& value) {
  if (value.IsArray()) return value.Empty() || std::any_of(value.Begin(), value.End(), HoldsEmpty);
  return value.IsObject() &&
         (value.ObjectEmpty() || std::any_of(value.MemberBegin(), value.MemberEnd(),
                                             [](const JsonValue::Member& member) { return HoldsEmpty(member.value); }));
}

// One export: takes the rows, sorted, and writes their objects.
class Exporter {
 public:
  Exporter(const ExportOptions& options, const DocumentSink& sink)
      : options_(options), stream_(DocumentStream::Make(sink, options.layout)) {}

  ExportSummary Run() {
    const DBStore::NamedText query{Sql::kExportObjects, {options_.component, options_.group, options_.key}};
    if (!ForEachRow(GetConn(), query, [this](const Row& row) { Take(row); })) Throw(DBStore::LastFailure().message);
    stream_->Finish();
    if (options_.progress) options_.progress(summary_.objects, 0);
    return std::move(summary_);
  }

 private:
  void Take(const Row& row) {
    const ConfigStoreObjectId id(row.Text(kName), row.Text(kGroup), row.Text(kComponent), row.Text(kIdentifier));
    if (!IsOfType(id, type_)) {
      type_ = ConfigStoreObjectId(id.key, id.group, id.component);
      schema_ = LookUpSchema(type_);
    }
    if (schema_ == nullptr) return LeaveOut("the type is not registered");
    if (schema_->IsSingleton() != id.instanceId.empty()) {
      return LeaveOut(schema_->IsSingleton() ? "the type has a single object" : "the type has instances");
    }
    try {
      Write(id, row);
    } catch (const ConfigStoreException& cause) {
      Throw(id.toString() + ": " + cause.what());
    }
  }

  void LeaveOut(const char* reason) {
    std::vector<LeftOut>& leftOut = summary_.leftOut;
    if (leftOut.empty() || !IsOfType(leftOut.back().type, type_)) leftOut.push_back({type_, reason, 0});
    ++leftOut.back().objects;
  }

  void Write(const ConfigStoreObjectId& id, const Row& row) {
    const char* column = kLayerColumns[options_.layer];
    const auto object = column == nullptr ? Effective(id, row) : LayerFromRow(id, row, column, schema_);
    if (object == nullptr) return;
    JsonValue& data = *object->GetJsonDocPtr()->GetJsonValuePtr();
    if (schema_->HasSecrets()) ApplySecrets(options_.secrets, data, schema_->GetObjectNode());
    stream_->Add(id, schema_->IsSingleton(), data);
    if (++summary_.objects % kProgressStep == 0 && options_.progress) options_.progress(summary_.objects, 0);
  }

  std::shared_ptr<ConfigStoreObject> Effective(const ConfigStoreObjectId& id, const Row& row) const {
    const std::shared_ptr<ConfigStoreObject> merged = MergeRow(id, row, schema_);
    if (merged == nullptr || IsWrittenWhole(*merged)) return merged;
    try {
      return AsWritten(*merged);
    } catch (const ConfigStoreException&) {
      // Deliberate: with a field that its schema no longer knows, it shows as it is.
      return merged;
    }
  }

  // Whether a write keeps the object as it is: it is of one layer, and nothing of it is empty.
  bool IsWrittenWhole(const ConfigStoreObject& object) const {
    return ObjectNodeOf(*schema_).IsUserDataAlone() &&
           !HoldsEmpty(*std::as_const(*object.GetJsonDocPtr()).GetJsonValuePtr());
  }

  // What a write of the object keeps, in the order in which it is read back.
  std::shared_ptr<ConfigStoreObject> AsWritten(const ConfigStoreObject& object) const {
    const JsonValue& data = *std::as_const(*object.GetJsonDocPtr()).GetJsonValuePtr();
    const auto part = [&](Category category) -> std::shared_ptr<ConfigStoreObject> {
      const auto storage = ExtractCategory(data, ObjectNodeOf(*schema_), category);
      if (storage == nullptr) return nullptr;
      return std::make_shared<ConfigStoreObject>(object.GetId(), DocOver(storage), schema_, "", "", "", true, nullptr,
                                                 nullptr);
    };
    return MergeConfig(part(Category::Vital), part(Category::Cached), part(Category::User), nullptr, schema_.get());
  }

  const ExportOptions& options_;
  const std::unique_ptr<DocumentStream> stream_;
  ConfigStoreObjectId type_{"", "", ""};
  std::shared_ptr<SchemaObject> schema_;
  ExportSummary summary_;
};

}  // namespace

ExportSummary Export(const ExportOptions& options, const DocumentSink& sink) {
  return Exporter(options, sink).Run();
}

std::string Export(const ExportOptions& options) {
  std::string text;
  Export(options, [&text](std::string_view part) { text += part; });
  return text;
}

}  // namespace OrvoConfigStore
