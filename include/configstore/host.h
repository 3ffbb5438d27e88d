#pragma once

#include <string>
#include <vector>

#include "configstore/export.h"
#include "configstore/object_id.h"

/// What tools and tests need of the host: where it is, its databases, its types.

namespace OrvoConfigStore {

/// Resolves every path of the store under `root` from now on; an empty text is
/// the host itself. Call it before the first other call. Throws
/// InvalidArgumentException(2000) unless `root` is empty or an absolute path to
/// a directory. Without a call the environment variable HALDEN_ROOT decides.
CONFIGSTORE_API void SetHostRoot(const std::string& root);

/// Returns the root in force; empty for the host itself.
CONFIGSTORE_API std::string GetHostRoot();

/// Returns where `path`, one of the host's own, is found under the root.
CONFIGSTORE_API std::string ResolveHostPath(const std::string& path);

/// Creates what is missing of the store and the schema store: directories
/// (0700), files (0600), tables and trigger. What exists is kept.
/// Throws ConfigStoreException(2000) when something cannot be created.
CONFIGSTORE_API void CreateDatabases();

/// A registered type.
struct SchemaInfo {
  std::string component;
  std::string group;
  std::string key;
  std::string version;
  bool singleton = true;     ///< false when the type has instances
  bool noRestore = false;    ///< its staged values are left alone at boot
  bool generatedId = false;  ///< its instances are named by the store ("cs_generated_id")
};

/// Checks and registers the types in the schema files at `paths`, all or none;
/// a type that is registered already is replaced. Returns them in that order.
/// Throws ValidationException(2000) that lists every fault, its field naming the
/// file, and ConfigStoreException(2000) when the schema store cannot be written.
CONFIGSTORE_API std::vector<SchemaInfo> RegisterSchemaFiles(const std::vector<std::string>& paths);

/// Returns the registered types, sorted by component, group and key; none while
/// there is no schema store. Throws ConfigStoreException(2000) when it cannot be
/// read.
CONFIGSTORE_API std::vector<SchemaInfo> ListSchemas();

/// Returns the name of the registered type that `type` is most likely a misspelling of,
/// as <configstore/object_name.h> writes it; empty when none is near. Where `type` has
/// no key, or neither key nor group, it is the beginning of a name, "netd/ipstack".
/// Throws as ListSchemas.
CONFIGSTORE_API std::string NearestTypeName(const ConfigStoreObjectId& type);

/// Why the calling thread's last database call failed.
struct StorageError {
  enum Kind {
    NONE,       ///< it did not
    MISSING,    ///< there is no such file, or it has no tables
    BUSY,       ///< another program holds the store
    READ_ONLY,  ///< the file or its directory cannot be written
    DAMAGED,    ///< the file is corrupt or no database
    OTHER,      ///< anything else, a full disk for one
  };
  Kind kind = NONE;
  std::string message;  ///< what the database said, with the file's path
};

/// Returns what failed last on this thread, for a tool that explains an
/// exception; reset by the next call that succeeds.
CONFIGSTORE_API StorageError LastStorageError();

}  // namespace OrvoConfigStore
