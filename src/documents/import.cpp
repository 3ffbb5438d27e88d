#include <string>
#include <utility>

#include "api/boot_state.h"
#include "api/checks.h"
#include "api/config_store_impl.h"
#include "api/secrets.h"
#include "configstore/documents.h"
#include "configstore/errors.h"
#include "documents/parsed_document.h"
#include "store/connection.h"
#include "store/reading.h"
#include "store/writing.h"
#include "validation/action_rules.h"

namespace OrvoConfigStore {
namespace {

constexpr size_t kProgressStep = 1000;

// Each mode's code for a document that is not valid.
CSErrorCodes InvalidCode(IMPORT_MODE mode) {
  return mode == IMPORT_MERGE ? CS_APPLY_FILE_INVALID : CS_IMPORT_FAILED;
}

void AppendBelow(const std::string& path, const std::vector<ErrorInfo>& found, std::vector<ErrorInfo>& errors) {
  for (const ErrorInfo& info : found) errors.push_back({path + info.field, info.error});
}

// One import, from the parsed document to the store.
class Importer {
 public:
  Importer(const std::string& text, const ImportOptions& options)
      : options_(options),
        document_(ParseDocument(text)),
        connection_(GetDBStore(DBStore::TYPE_STORE, false)),
        store_(std::make_shared<ConfigStoreImpl>(connection_)) {}

  ImportSummary Run() {
    checkUserContext(IsBootInternal(connection_), options_.context);
    Check();
    for (const TypeEntry& entry : document_.entries) {
      all_ += entry.value->IsArray() ? entry.value->Size() : 1;
    }
    if (options_.progress) options_.progress(0, all_);
    try {
      ConfigStoreTransaction transaction(store_);
      WriteEntries();
      transaction.Commit();
    } catch (const ValidationException&) {
      throw;
    } catch (const ConfigStoreException& cause) {
      throw ConfigStoreException(CS_IMPORT_FAILED, (std::string("Import operation failed: ") + cause.what()).c_str());
    }
    return {all_, document_.entries.size()};
  }

 private:
  bool IsMerge() const { return options_.mode == IMPORT_MERGE; }

  void ThrowIfAny() {
    if (!errors_.empty()) ThrowValidation(InvalidCode(options_.mode), std::move(errors_));
  }

  // Everything that can be said before anything is written.
  void Check() {
    FindNullsAndRepeats(document_, AppendTo(errors_));
    if (!IsMerge()) RestoreSecrets();
    const JsonDocument& data = document_.storage->document;
    if (IsMerge()) {
      const auto schema = AssembleDocumentSchema(data, document_.schemas);
      AppendBelow("", FindViolations(WriteKind::ApplyFile, schema->document, data, document_.storage->allocator),
                  errors_);
    } else {
      ValidateImportDocument(data, document_.schemas, errors_);
    }
    ThrowIfAny();
    for (const TypeEntry& entry : document_.entries) {
      NameInstances(entry, document_.storage->allocator);
      CheckNames(entry, AppendTo(errors_));
    }
    ThrowIfAny();
  }

  // A merge leaves it to each update.
  void RestoreSecrets() {
    for (const TypeEntry& entry : document_.entries) {
      if (!entry.schema->HasSecrets()) continue;
      ForEachObject(entry, [&](JsonValue& data) {
        if (data.IsObject() && HasMaskedSecret(data, entry.schema->GetObjectNode())) RestoreSecretsOf(entry, data);
      });
    }
  }

  void RestoreSecretsOf(const TypeEntry& entry, JsonValue& data) {
    const ConfigStoreObjectId id = IdOf(entry, data);
    const bool hasName = entry.schema->IsSingleton() || !id.instanceId.empty();
    const auto stored = hasName ? GetInternal(id, connection_, entry.schema) : nullptr;
    const JsonValue* kept = stored == nullptr ? nullptr : stored->GetJsonDocPtr()->GetJsonValuePtr();
    const JsonValue& node = entry.schema->GetObjectNode();
    AppendBelow(entry.Path(), RestoreMaskedSecrets(data, node, kept, document_.storage->allocator), errors_);
  }

  void WriteEntries() {
    for (const TypeEntry& entry : document_.entries) {
      if (!IsMerge() && !entry.schema->IsSingleton()) DeleteInstancesInternal(entry.type, connection_);
      ForEachObject(entry, [&](const JsonValue& data) {
        Write(entry, data);
        ++done_;
        if (options_.progress && (done_ % kProgressStep == 0 || done_ == all_)) options_.progress(done_, all_);
      });
    }
    ThrowIfAny();
  }

  void Write(const TypeEntry& entry, const JsonValue& data) {
    const auto object = MakeObject(entry, IdOf(entry, data), data);
    if (!IsMerge()) return SetInstancesInternal({object}, options_.context, document_.schemas, connection_);
    try {
      store_->Update(object, options_.context);
    } catch (const ValidationException& invalid) {
      // Goes on to the next object, for a list of all that is wrong.
      AppendBelow(entry.Path(), invalid.GetErrors(), errors_);
      if (invalid.GetErrors().empty()) errors_.push_back({entry.Path(), invalid.what()});
    }
  }

  const ImportOptions& options_;
  ParsedDocument document_;
  const Connection connection_;
  std::shared_ptr<ConfigStore> store_;
  std::vector<ErrorInfo> errors_;
  size_t done_ = 0;
  size_t all_ = 0;
};

}  // namespace

ImportSummary Import(const std::string& text, const ImportOptions& options) {
  return Importer(text, options).Run();
}

}  // namespace OrvoConfigStore
