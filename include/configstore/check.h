#pragma once

#include <string>
#include <vector>

#include "configstore/export.h"
#include "configstore/object_id.h"

/// Looking for what is wrong with the store, or will be. The store is only read.

namespace OrvoConfigStore {

/// Something that was found.
struct StoreFinding {
  enum Kind {
    DAMAGED,       ///< a database fails its integrity check or cannot be read
    TABLES,        ///< a table or trigger is missing, changed or not known
    SIDE_FILE,     ///< a file that an interrupted run has left
    SCHEMA,        ///< a schema file to rehearse that could not be registered
    UNREGISTERED,  ///< an object whose type is not registered: it cannot be read
    UNREADABLE,    ///< an object whose stored text is damaged
    INVALID,       ///< an object that could not be written as it is
    UNCONFIRMED,   ///< an object whose user layer is not in force
  };
  Kind kind;
  ConfigStoreObjectId id{"", "", ""};  ///< the object concerned; empty for a file
  std::string where;                   ///< the file, or which of the object's values: "effective", "desired", "staged"
  std::string field;                   ///< of an INVALID one
  std::string what;                    ///< never holds a value
};

struct CheckOptions {
  /// Schema files that count in place of what is registered for their types.
  std::vector<std::string> schemaFiles;
};

/// Checks both databases, then every row: that a read of it succeeds, and that its
/// values obey their type's schema. A damaged database ends the checks that need
/// it. What an interrupted run left unfinished in the store is settled, as by any
/// opening of it. Throws ConfigStoreException(2000) when there is no store.
CONFIGSTORE_API std::vector<StoreFinding> CheckStore(const CheckOptions& options = {});

}  // namespace OrvoConfigStore
