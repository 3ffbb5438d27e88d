#include <algorithm>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "api/checks.h"
#include "api/config_store_impl.h"
#include "api/transaction.h"
#include "configstore/errors.h"
#include "configstore/lifecycle.h"
#include "configstore/logging.h"
#include "lifecycle/package_files.h"
#include "objects/json_access.h"
#include "platform/json_repeats.h"
#include "platform/sql_format.h"
#include "store/connection.h"
#include "store/rows.h"
#include "store/statements.h"
#include "store/writing.h"
#include "validation/action_rules.h"

// From the default-configuration files of packages to the table of defaults: all
// files are read and all objects validated, then one transaction writes them.

namespace OrvoConfigStore {
namespace {

// The default objects of one type.
struct TypeDefaults {
  ConfigStoreObjectId type;
  std::shared_ptr<SchemaObject> schema;
  ObjectList objects;
};
// By the text form of the type.
using DefaultsByType = std::map<std::string, TypeDefaults>;

[[noreturn]] void Refuse(const std::string& reason) {
  throw InvalidArgumentException(CS_GENERAL, reason.c_str());
}

std::string TextMember(const JsonValue& entry, const char* name) {
  const JsonValue* text = FindValue(entry, name);
  if (text == nullptr || !text->IsString()) Refuse("An entry must name its \"" + std::string(name) + "\".");
  return std::string(TextOf(*text));
}

// Returns the identifier of one default object.
ConfigStoreObjectId IdOf(const TypeDefaults& defaults, const JsonValue& data) {
  ConfigStoreObjectId id = defaults.type;
  const JsonValue* idKey = FindValue(defaults.schema->GetIdMap()->document, id.key);
  const JsonValue* instanceId = idKey == nullptr ? nullptr : FindValue(data, TextOf(*idKey));
  if (instanceId != nullptr && instanceId->IsString()) id.instanceId = TextOf(*instanceId);
  validateSingletonNonSingleton(id, defaults.schema);
  return id;
}

void TakeObject(TypeDefaults& defaults, const JsonValue& data) {
  if (!data.IsObject()) Refuse("A default must be an object.");
  defaults.objects.push_back(std::make_shared<ConfigStoreObject>(IdOf(defaults, data), DocOver(CopyToStorage(data)),
                                                                 defaults.schema, defaults.schema->GetVersion(), "", "",
                                                                 true, nullptr, nullptr));
}

// Takes one entry of a file; false, logged, when its type is unknown.
bool TakeEntry(JsonValue& entry, JsonAllocator& allocator, DefaultsByType& all) {
  if (!entry.IsObject()) Refuse("An entry must be an object.");
  const ConfigStoreObjectId type{TextMember(entry, "key"), TextMember(entry, "group"), TextMember(entry, "component")};
  const std::shared_ptr<SchemaObject> schema = LookUpSchema(type);
  if (schema == nullptr) {
    CSLogger::LogErrCode(CSLogger::LOG_PRIORITY_ERROR, CS_SCHEMA_NOT_FOUND, type.toString().c_str());
    return false;
  }
  const JsonValue* value = FindValue(std::as_const(entry), "value");
  if (value == nullptr) Refuse("An entry must have a \"value\".");
  ValidateDefaultConfig(value->IsArray() ? schema->GetJson() : schema->GetObjectNode(), *value, allocator);
  TypeDefaults& defaults = all.try_emplace(type.toString(), TypeDefaults{type, schema, {}}).first->second;
  if (!value->IsArray()) {
    TakeObject(defaults, *value);
  } else {
    for (const JsonValue& element : value->GetArray()) TakeObject(defaults, element);
  }
  return true;
}

// As TakeEntry; what is wrong with the entry is logged.
bool TakeChecked(const std::string& path, JsonValue& entry, JsonAllocator& allocator, DefaultsByType& all) {
  try {
    return TakeEntry(entry, allocator, all);
  } catch (const ValidationException& invalid) {
    for (const ErrorInfo& info : invalid.GetErrors()) LogRefusal(path + info.field, info.error);
    if (invalid.GetErrors().empty()) LogRefusal(path, invalid.what());
  } catch (const ConfigStoreException& unusable) {
    LogRefusal(path, unusable.what());
  }
  return false;
}

bool TakeFile(const PackageFile& file, DefaultsByType& all) {
  JsonStorage storage(file.text.size());
  JsonReadFailure failure;
  if (!ReadJson(file.text, storage.document, &failure)) {
    LogRefusal(file.path, "Not JSON, at byte " + std::to_string(failure.offset) + ": " + failure.reason);
    return false;
  }
  std::string place;
  if (const JsonValue* name = FindRepeatedName(storage.document, &place)) {
    LogRefusal(file.path + "#" + place, "Member is there twice: " + std::string(TextOf(*name)));
    return false;
  }
  JsonValue* entries = storage.document.IsObject() ? FindValue(storage.document, "defaults") : nullptr;
  if (entries == nullptr || !entries->IsArray()) {
    LogRefusal(file.path, "The file must hold a list of \"defaults\".");
    return false;
  }
  bool isGood = true;
  for (rapidjson::SizeType i = 0; i < entries->Size(); ++i) {
    const std::string path = file.path + "#/defaults/" + std::to_string(i);
    if (!TakeChecked(path, (*entries)[i], storage.document.GetAllocator(), all)) isGood = false;
  }
  return isGood;
}

bool HasGeneratedIds(const SchemaObject& schema) {
  const auto idKeys = std::as_const(schema.GetIdMap()->document).GetObject();
  return std::any_of(idKeys.begin(), idKeys.end(),
                     [](const auto& array) { return TextOf(array.value) == kGeneratedId; });
}

bool HasRowsOfVersion(const TypeDefaults& defaults, const Connection& connection) {
  bool found = false;
  const std::string sql =
      FormatSql(Sql::kGetDefaultInstances, {defaults.type.key, defaults.type.group, defaults.type.component});
  const bool done = ForEachRow(
      connection, sql, [&](RowMap&& row) { found = found || row.Text(kVersion) == defaults.schema->GetVersion(); });
  if (!done) throw ConfigStoreException(CS_GENERAL, "Database Error");
  return found;
}

// Identifiers that were generated once stay: defaults of the type's version are
// kept as they are, those of another give way as a whole.
bool MakeRoom(const TypeDefaults& defaults, const Connection& connection) {
  if (!HasGeneratedIds(*defaults.schema)) return true;
  if (HasRowsOfVersion(defaults, connection)) return false;
  const std::string sql =
      FormatSql(Sql::kDeleteDefaults, {defaults.type.key, defaults.type.group, defaults.type.component});
  if (DBStore::ExecuteV2(connection, sql, nullptr, nullptr, DBStore::kBusyTimeout) == 0) return true;
  throw ConfigStoreException(CS_GENERAL, "Database Error");
}

void WriteDefaults(const DefaultsByType& all, const Connection& connection) {
  for (const auto& [type, defaults] : all) {
    if (!MakeRoom(defaults, connection)) continue;
    for (const std::shared_ptr<ConfigStoreObject>& object : defaults.objects) {
      Write(kDefaultConfigTable, *object, connection);
    }
  }
}

}  // namespace

bool ProcessDefaultConfiguration(std::vector<std::string> paks) {
  std::vector<std::string> installed;
  std::vector<PackageFile> files;
  if (!ListInstalledPackages(&installed)) return false;
  bool isGood = ReadPackageFiles(ChoosePackages(paks, installed), "defaults", &files);
  DefaultsByType all;
  for (const PackageFile& file : files) isGood = TakeFile(file, all) && isGood;
  if (!isGood) return false;
  const Connection connection = GetDBStore(DBStore::TYPE_STORE, false);
  if (connection == nullptr) {
    CSLogger::Log(CSLogger::LOG_PRIORITY_ERROR, "Failed to connect to database.");
    return false;
  }
  try {
    ConfigStoreImpl store(connection);
    RunInTransaction(store, "ProcessDefaultConfiguration", [&] { WriteDefaults(all, connection); });
    return true;
  } catch (const ConfigStoreException&) {
    return false;  // logged when it was made
  }
}

}  // namespace OrvoConfigStore
