#pragma once

#include <optional>
#include <string>
#include <vector>

#include "configstore/export.h"
#include "configstore/object_id.h"

/// Looking at what is stored, for tools. Nothing here changes the store.

namespace OrvoConfigStore {

/// One row as it is stored. A layer that is not set is empty.
struct StoredRow {
  std::optional<std::string> autoConfValue;
  std::optional<std::string> userValue;
  std::optional<std::string> vitalValue;
  std::optional<std::string> cachedValue;
  std::optional<std::string> desiredValue;
  std::string version;
  std::string creationTime;  ///< "YYYY-MM-DD hh:mm:ss", UTC
  std::string modifiedTime;  ///< likewise
  bool confirmed = true;     ///< the success flag: an unconfirmed user value is not read
};

/// Returns the row of `id`, or nothing when there is none. Throws as
/// ConfigStore::Get does; values are not looked into, so damaged ones show.
CONFIGSTORE_API std::optional<StoredRow> ReadStoredRow(const ConfigStoreObjectId& id);

/// A stored object, as a listing shows it.
struct StoredName {
  ConfigStoreObjectId id;
  std::string version;    ///< of the schema that it was written with
  bool confirmed = true;  ///< its success flag
  bool pending = false;   ///< it holds a desired value
};

/// Returns the stored objects of a component, group and key, sorted; an empty
/// part stands for all. Throws ConfigStoreException(2000) when the store cannot
/// be read.
CONFIGSTORE_API std::vector<StoredName> ListStoredObjects(const std::string& component, const std::string& group,
                                                          const std::string& key);

/// One field of a type, as its schema describes it.
struct FieldDescription {
  std::string path;         ///< "/link/name"; elements of an array have the array's path; empty for the object itself
  std::string type;         ///< the schema's word, "integer"; "array of strings" and the like for arrays
  std::string title;        ///< empty when the schema has none
  std::string description;  ///< likewise
  std::string category;     ///< "user", "vital", "cached", or "identifier" for what belongs to all three
  bool required = false;
  std::vector<std::string> rules;           ///< what a value must satisfy besides its type, "from 576 to 9000"
  std::optional<std::string> defaultValue;  ///< JSON text
};

/// Returns every field of the type of `id`, each before those below it, in the
/// order of the schema. Throws ValidationException(2000) when the type is unknown.
CONFIGSTORE_API std::vector<FieldDescription> DescribeType(const ConfigStoreObjectId& id);

/// Stands for a secret in everything that is shown. Written back, it means
/// "keep what is stored"; it is never stored itself.
extern CONFIGSTORE_API const char kSecretMask[];

/// Returns `json`, the data of an object of the type of `id`, with every secret
/// replaced by the mask. A text that is no JSON object gives the mask alone when
/// the type has secrets, else the text. Throws ValidationException(2000) when
/// the type is unknown.
CONFIGSTORE_API std::string MaskSecrets(const ConfigStoreObjectId& id, const std::string& json);

/// The same, for what was typed and is not stored: where the type has secrets, the
/// value of a member that it does not know is masked too, unless the name is a slip of
/// one that holds none. It may be a secret under a name that is misspelt.
CONFIGSTORE_API std::string MaskSecretsOfInput(const ConfigStoreObjectId& id, const std::string& json);

/// A value of a field in one of the layers.
struct LayerValue {
  std::string layer;  ///< "vital", "cached", "auto" or "user"
  std::string value;  ///< JSON text
};

/// Why a field has the value that it has. A value is JSON text, and empty where
/// there is none. A field is a value that holds no further ones; an array that
/// the merge of layers replaces whole is one.
struct FieldOrigin {
  std::string path;                           ///< JSON pointer, instances by identifier: "/link/eth0/mtu"
  bool secret = false;                        ///< its values must not be shown
  std::optional<std::string> effective;       ///< what a read returns
  std::string layer;                          ///< and the layer that it comes from
  std::vector<LayerValue> shadowed;           ///< what it hides in the layers below, uppermost first
  std::optional<std::string> unconfirmed;     ///< a user value that is not read, since the row is unconfirmed
  std::optional<std::string> desired;         ///< the row's desired value: the user value once it is confirmed
  std::optional<std::string> staged;          ///< in the staged configuration
  std::optional<std::string> schemaDefault;   ///< what the typed getters fall back to
  std::optional<std::string> packageDefault;  ///< in the default object that a package brought
};

/// A stored text that cannot be read.
struct DamagedValue {
  std::string layer;  ///< as in LayerValue, or "desired", "staged", "default"
  std::string reason;
};

/// What is known of one object.
struct ObjectExplanation {
  bool stored = false;             ///< it has a row
  bool confirmed = true;           ///< while it is not, the user layer is not in force
  bool staged = false;             ///< the staged configuration has a value of it
  bool hasPackageDefault = false;  ///< a package brought a default object
  bool appliesStaged = false;      ///< the next load puts staged values in place of all user layers
  std::string version;             ///< of the schema that it was written with
  std::string schemaVersion;       ///< of its type by now
  std::string readFailure;         ///< why a read of it throws; empty when it does not
  std::vector<DamagedValue> damaged;
  std::vector<FieldOrigin> fields;  ///< in the order of the data, those with a default alone last
};

/// Returns for each field of `id` where its value comes from; the effective
/// values make up what ConfigStore::Get returns. A layer that cannot be read is
/// listed in `damaged` and the others are explained. Throws
/// ValidationException(2000) as ConfigStore::Get does, and
/// ConfigStoreException(2000) when the store cannot be read.
CONFIGSTORE_API ObjectExplanation ExplainObject(const ConfigStoreObjectId& id);

}  // namespace OrvoConfigStore
