#pragma once

#include <configstore/object_id.h>

#include <string>

/// How objects are written on the command line: as <configstore/object_name.h>
/// has it, with "#/" and a path behind the name where a command takes a field.

namespace csctl {

/// Returns the object that `text` names. Throws CommandFailed(kUsage).
OrvoConfigStore::ConfigStoreObjectId ParseObjectName(const std::string& text);

/// The beginning of a name; the parts that are left out are empty.
struct NamePrefix {
  std::string component;
  std::string group;
  std::string key;
};

/// Returns what `text`, COMPONENT[/GROUP[/KEY]], begins with. Throws CommandFailed(kUsage).
NamePrefix ParseNamePrefix(const std::string& text);

/// Returns the type that `text`, COMPONENT/GROUP/KEY, names. Throws
/// CommandFailed(kUsage), also when it names an instance.
OrvoConfigStore::ConfigStoreObjectId ParseTypeName(const std::string& text);

/// Cuts "#/FIELD" off `text` and returns it as a path, "/FIELD"; empty when there is none.
std::string TakeField(std::string& text);

/// Returns the path of a field that `text` names, "%XX" read as above.
std::string ParseField(const std::string& text);

/// Returns the name of a field, a JSON pointer, such that TakeField reads it back.
std::string FieldName(const std::string& path);

/// Whether the field at `path` is `field` or in it; everything is in "".
bool IsWithin(const std::string& path, const std::string& field);

/// Returns the name of `id`.
std::string ObjectName(const OrvoConfigStore::ConfigStoreObjectId& id);

}  // namespace csctl
