#include "object_name.h"

#include <configstore/errors.h>
#include <configstore/object_name.h>

#include <algorithm>

#include "failure.h"

namespace csctl {

using OrvoConfigStore::ConfigStoreObjectId;
using OrvoConfigStore::InvalidArgumentException;

namespace {

constexpr char kForm[] = "write COMPONENT/GROUP/KEY or COMPONENT/GROUP/KEY@INSTANCE; \"%XX\" is any byte";

[[noreturn]] void Refuse(const std::string& text, const char* why) {
  throw CommandFailed({Exit::kUsage, why, text, kForm});
}

/// Returns the part of `text` from `begin` to `end` with its escapes replaced.
std::string Unescape(const std::string& text, size_t begin, size_t end) {
  try {
    return OrvoConfigStore::UnescapeNamePart(text.substr(begin, end - begin));
  } catch (const InvalidArgumentException& error) {
    Refuse(text, error.what());
  }
}

}  // namespace

ConfigStoreObjectId ParseObjectName(const std::string& text) {
  if (text.find("#/") != std::string::npos) Refuse(text, "this command takes no field (\"#/...\")");
  try {
    return OrvoConfigStore::ParseObjectName(text);
  } catch (const InvalidArgumentException& error) {
    Refuse(text, error.what());
  }
}

NamePrefix ParseNamePrefix(const std::string& text) {
  NamePrefix prefix;
  size_t begin = 0;
  for (std::string* part : {&prefix.component, &prefix.group, &prefix.key}) {
    const size_t end = std::min(text.find('/', begin), text.size());
    *part = Unescape(text, begin, end);
    if (end == text.size()) return prefix;
    begin = end + 1;
  }
  Refuse(text, "a \"/\" inside a key is written %2F");
}

ConfigStoreObjectId ParseTypeName(const std::string& text) {
  const ConfigStoreObjectId id = ParseObjectName(text);
  if (!id.instanceId.empty()) Refuse(text, "this command takes a type, without \"@INSTANCE\"");
  return id;
}

std::string TakeField(std::string& text) {
  const size_t mark = text.find("#/");
  if (mark == std::string::npos) return {};
  const std::string field = Unescape(text, mark + 1, text.size());
  text.resize(mark);
  return field;
}

std::string ParseField(const std::string& text) {
  return Unescape(text, 0, text.size());
}

std::string FieldName(const std::string& path) {
  std::string name;
  for (size_t at = 0; at < path.size();) {
    const size_t sign = std::min(path.find_first_of("/~", at), path.size());
    name += OrvoConfigStore::EscapeNamePart(path.substr(at, sign - at)) + path.substr(sign, 1);
    at = sign + 1;
  }
  // A "=" ends a field where a value follows.
  for (size_t at = 0; (at = name.find('=', at)) != std::string::npos;) name.replace(at, 1, "%3D");
  return name;
}

bool IsWithin(const std::string& path, const std::string& field) {
  return path.compare(0, field.size(), field) == 0 &&
         (path.size() == field.size() || field.empty() || path[field.size()] == '/');
}

std::string ObjectName(const ConfigStoreObjectId& id) {
  return OrvoConfigStore::ObjectName(id);
}

}  // namespace csctl
