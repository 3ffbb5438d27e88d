#include "api/write_preparation.h"

#include <utility>
#include <vector>

#include "api/generated_ids.h"
#include "api/secrets.h"
#include "platform/rapidjson.h"
#include "store/reading.h"

namespace OrvoConfigStore {

void PrepareForWrite(ConfigStoreObject& object, const std::shared_ptr<SchemaObject>& schema, CSErrorCodes code,
                     const std::shared_ptr<DBStore::StoreConnection>& connection) {
  PrepareForWrite(object, schema, code, [&] { return GetInternal(object.GetId(), connection, schema); });
}

void PrepareForWrite(ConfigStoreObject& object, const std::shared_ptr<SchemaObject>& schema, CSErrorCodes code,
                     const std::function<std::shared_ptr<ConfigStoreObject>()>& readStored) {
  const std::shared_ptr<JsonDoc> doc = object.GetJsonDocPtr();
  JsonValue& data = *doc->GetJsonValuePtr();
  const JsonValue& node = schema->GetObjectNode();
  if (schema->HasGeneratedIds()) AssignNestedIds(data, node, *doc->allocator);
  if (!schema->HasSecrets() || !HasMaskedSecret(data, node)) return;
  const std::shared_ptr<ConfigStoreObject> stored = readStored();
  const JsonValue* kept = stored == nullptr ? nullptr : stored->GetJsonDocPtr()->GetJsonValuePtr();
  std::vector<ErrorInfo> violations = RestoreMaskedSecrets(data, node, kept, *doc->allocator);
  if (!violations.empty()) ThrowValidation(code, std::move(violations));
}

}  // namespace OrvoConfigStore
