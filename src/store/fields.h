#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/rapidjson.h"

/// An object's data as fields: the values that hold no further ones, by path.
///
/// A path is a JSON pointer in which an instance stands by its identifier,
/// "/link/eth0/mtu". Which arrays hold instances is what the merge of layers goes
/// by, the schema node and then the id map; an array of which any element has no
/// identifier is one value.

namespace OrvoConfigStore {

/// One field of an object.
struct Field {
  const std::string& path;
  const JsonValue& value;  ///< a scalar, an array that is one value, or an empty object or array
  const JsonValue* node;   ///< its schema node, null when the schema knows no such field
  bool isEmptyHolder;      ///< an object without members, or an array of instances without any
};

/// Takes the fields of one object.
struct FieldVisitor {
  std::function<void(const Field& field)> field;
  /// The object itself, an object in it or an instance, before its fields. May be empty.
  std::function<void(const std::string& path, const JsonValue* node)> object;
};

/// Hands the fields of `data`, an object, to `visitor`, in their order. `node`
/// and `idMap` may be null.
void ForEachField(const JsonValue& data, const JsonValue* node, const JsonValue* idMap, const FieldVisitor& visitor);

/// Returns the identifier key of the array `name`, which `node` describes unless it
/// is null, when `value` is an array whose elements all have it, else null.
const JsonValue* InstanceKeyOf(std::string_view name, const JsonValue& value, const JsonValue* node,
                               const JsonValue* idMap);

/// Returns a schema node's property `name`, that of its items when it is an
/// array; null when there is none.
const JsonValue* PropertyOf(const JsonValue* node, std::string_view name);

/// Returns the names of a schema node's properties, likewise.
std::vector<std::string_view> PropertyNames(const JsonValue* node);

/// Whether a value of the node is a secret or may hold one.
bool HoldsSecret(const JsonValue* node);

}  // namespace OrvoConfigStore
