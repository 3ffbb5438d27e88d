#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "configstore/errors.h"
#include "configstore/export.h"
#include "configstore/object_id.h"

/// What is wrong with a text, for people: the violations that a write of it would
/// be refused for, all of them in one run, and beside each where it stands and what
/// would be right. Nothing here changes the store, and no secret shows.

namespace OrvoConfigStore {

/// What a text is meant for: each kind of write has checks of its own.
enum DIAGNOSE_FOR {
  DIAGNOSE_SET = 0,          ///< ConfigStore::Set by an outside caller, or SetInstances
  DIAGNOSE_SET_BY_HOST = 1,  ///< the same by the host itself
  DIAGNOSE_UPDATE = 2,       ///< ConfigStore::Update
  DIAGNOSE_USER = 3,         ///< one layer
  DIAGNOSE_AUTO = 4,
  DIAGNOSE_VITAL = 5,
  DIAGNOSE_CACHED = 6,
  DIAGNOSE_IMPORT = 7,  ///< a document: Import
  DIAGNOSE_MERGE = 8,   ///< Import that merges
  DIAGNOSE_STAGE = 9,   ///< user configuration to stage
};

/// One thing that is wrong, or that may be.
struct Diagnostic {
  ErrorInfo violation;                     ///< as a validation reports it; of a text that is not JSON, why not
  bool isWarning = false;                  ///< a reference to nothing: no write is refused for it
  std::string pointer;                     ///< JSON pointer into the text, "/link/1/mtu"; empty for all of it
  std::string instance;                    ///< the identifier of the innermost element on the way there; may be empty
  ConfigStoreObjectId object{"", "", ""};  ///< the object concerned; without a key when it is none
  size_t line = 0;                         ///< from 1
  size_t column = 0;                       ///< from 1, in characters
  std::string rule;                        ///< what is allowed there, "integer, from 576 to 9000"; may be empty
  std::string nearest;                     ///< the name that a name which is not known is nearest to; may be empty
};

/// Returns where a text stops being one JSON value of at most 1 GiB and 517 levels,
/// and why, or where an object in it has a second member of one name; nothing when
/// all is well.
CONFIGSTORE_API std::optional<Diagnostic> FindSyntaxError(const std::string& text);

/// Returns what is wrong with the text of a document, in its order; nothing means
/// that the write will not refuse it as invalid, masked secrets excepted, of which
/// the store decides. Throws ConfigStoreException(2000) when the schemas cannot be
/// read.
CONFIGSTORE_API std::vector<Diagnostic> DiagnoseDocument(const std::string& text, DIAGNOSE_FOR use = DIAGNOSE_IMPORT);

/// The same of the text of an object of the type of `id`, or of an array of
/// instances. Throws ValidationException(2000) when the type is unknown.
CONFIGSTORE_API std::vector<Diagnostic> DiagnoseObject(const ConfigStoreObjectId& id, const std::string& text,
                                                       DIAGNOSE_FOR use = DIAGNOSE_SET);

}  // namespace OrvoConfigStore
