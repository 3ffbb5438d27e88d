#include <algorithm>
#include <map>
#include <string>
#include <tuple>
#include <vector>

#include "configstore/errors.h"
#include "configstore/lifecycle.h"
#include "lifecycle/package_files.h"
#include "platform/db_store.h"
#include "platform/schema_check.h"
#include "platform/schema_store.h"

// From the schema files of packages to the schema store:
//
//   1. Every file is read and checked.
//   2. A type belongs to one package: to one of the files, and to no package that
//      is installed but not processed now. One that was registered by hand, or
//      whose package is gone, is taken over.
//   3. What differs from the schema store is written in one transaction.

namespace OrvoConfigStore {
namespace {

using OrvoSchemaStore::SchemaRecord;
using OrvoSchemaStore::SchemaStore;
using Records = std::vector<SchemaRecord>;
using Names = std::vector<std::string>;
using Type = std::tuple<std::string, std::string, std::string>;

Type TypeOf(const SchemaRecord& record) {
  return {record.component, record.group, record.key};
}

auto ContentOf(const SchemaRecord& record) {
  return std::tie(record.package, record.component, record.group, record.key, record.version, record.schema,
                  record.noRestore);
}

bool Holds(const Names& names, const std::string& name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

bool CheckFile(const PackageFile& file, SchemaRecord& record) {
  const std::vector<OrvoSchemaStore::SchemaFault> faults = OrvoSchemaStore::CheckSchemaText(file.text, record);
  for (const OrvoSchemaStore::SchemaFault& fault : faults) LogRefusal(file.path + "#" + fault.path, fault.text);
  record.package = file.package;
  return faults.empty();
}

// Steps 1 and 2 among the files themselves; `paths` gets the file of each type.
bool CheckFiles(const std::vector<PackageFile>& files, Records* records, std::map<Type, std::string>* paths) {
  bool isGood = true;
  for (const PackageFile& file : files) {
    SchemaRecord record;
    if (!CheckFile(file, record)) {
      isGood = false;
      continue;
    }
    const auto [other, isFirst] = paths->emplace(TypeOf(record), file.path);
    if (!isFirst) {
      LogRefusal(file.path, "The type is that of " + other->second + " too.");
      isGood = false;
    }
    records->push_back(std::move(record));
  }
  return isGood;
}

// Step 2 for packages that are not processed.
bool CheckOwners(const Records& registered, const Names& processed, const Names& installed,
                 const std::map<Type, std::string>& paths) {
  bool isGood = true;
  for (const SchemaRecord& row : registered) {
    const auto brought = paths.find(TypeOf(row));
    if (brought == paths.end() || Holds(processed, row.package) || !Holds(installed, row.package)) continue;
    LogRefusal(brought->second, "The type belongs to the package " + row.package + ".");
    isGood = false;
  }
  return isGood;
}

// Whether the schema store says all that the files say, and no more of the packages.
bool IsRegistered(const Records& registered, const Records& records, const Names& processed) {
  size_t ofPackages = 0;
  size_t found = 0;
  for (const SchemaRecord& row : registered) {
    if (Holds(processed, row.package)) ++ofPackages;
    const bool isSame = std::any_of(records.begin(), records.end(),
                                    [&row](const SchemaRecord& record) { return ContentOf(record) == ContentOf(row); });
    if (isSame) ++found;
  }
  return found == records.size() && ofPackages == found;
}

bool Process(const Names& processed, const Names& installed) {
  std::vector<PackageFile> files;
  Records records;
  std::map<Type, std::string> paths;
  const bool isRead = ReadPackageFiles(processed, "schema", &files);
  if (!isRead || !CheckFiles(files, &records, &paths)) return false;
  const std::shared_ptr<SchemaStore> store = SchemaStore::GetStore();
  const Records registered = store->ListSchemas();
  if (!CheckOwners(registered, processed, installed, paths)) return false;
  if (!IsRegistered(registered, records, processed)) store->SetSchema(records, processed);
  return true;
}

}  // namespace

bool ProcessSchemas(std::vector<std::string> paks) {
  if (DBStore::CreateDatabases() != 0) return false;
  Names installed;
  if (!ListInstalledPackages(&installed)) return false;
  // A host without packages has lost them rather than their types: nothing goes.
  if (installed.empty()) return true;
  try {
    return Process(ChoosePackages(paks, installed), installed);
  } catch (const ConfigStoreException&) {
    return false;  // logged when it was made
  }
}

}  // namespace OrvoConfigStore
