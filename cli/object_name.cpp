#include "object_name.h"

#include <cctype>
#include <cstdio>
#include <cstring>

#include "failure.h"
#include "json_text.h"

namespace csctl {

using OrvoConfigStore::ConfigStoreObjectId;

namespace {

constexpr char kForm[] = "write COMPONENT/GROUP/KEY or COMPONENT/GROUP/KEY@INSTANCE; \"%XX\" is any byte";

[[noreturn]] void Refuse(const std::string& text, const char* why) {
  throw CommandFailed({Exit::kUsage, why, text, kForm});
}

/// Returns the byte of two hexadecimal digits, 0 for anything else.
char HexByte(const std::string& digits) {
  if (digits.size() != 2 || std::isxdigit(static_cast<unsigned char>(digits[0])) == 0 ||
      std::isxdigit(static_cast<unsigned char>(digits[1])) == 0) {
    return 0;
  }
  return static_cast<char>(std::stoi(digits, nullptr, 16));
}

/// Returns the part of `text` from `begin` to `end` with its escapes replaced.
std::string Unescape(const std::string& text, size_t begin, size_t end) {
  std::string part;
  for (size_t at = begin; at < end; ++at) {
    if (text[at] != '%') {
      part += text[at];
      continue;
    }
    const char byte = HexByte(text.substr(at + 1, std::min<size_t>(2, end - at - 1)));
    if (byte == 0) Refuse(text, "\"%\" must be followed by two hexadecimal digits other than 00");
    part += byte;
    at += 2;
  }
  if (part.empty()) Refuse(text, "a part of the name is empty");
  return part;
}

/// Escapes every byte but letters, digits and the signs in `kept`.
std::string Escape(const std::string& part, const char* kept = "._-+,:=") {
  std::string escaped;
  for (size_t at = 0; at < part.size();) {
    const auto byte = static_cast<unsigned char>(part[at]);
    const bool plain = byte < 0x80 ? std::isalnum(byte) != 0 || std::strchr(kept, byte) != nullptr : true;
    const size_t length = plain ? ShownLength(part, at) : 0;
    char hex[4];
    std::snprintf(hex, sizeof hex, "%%%02X", byte);
    escaped += length == 0 ? hex : part.substr(at, length);
    at += length == 0 ? 1 : length;
  }
  return escaped;
}

}  // namespace

ConfigStoreObjectId ParseObjectName(const std::string& text) {
  const size_t group = text.find('/');
  const size_t key = group == std::string::npos ? group : text.find('/', group + 1);
  if (key == std::string::npos) Refuse(text, "this is not the name of an object");
  if (text.find("#/", key + 1) != std::string::npos) Refuse(text, "this command takes no field (\"#/...\")");
  const size_t at = std::min(text.find('@', key + 1), text.size());
  if (text.find('/', key + 1) < at) Refuse(text, "a \"/\" inside a key is written %2F");
  const std::string instance = at == text.size() ? "" : Unescape(text, at + 1, text.size());
  return {Unescape(text, key + 1, at), Unescape(text, group + 1, key), Unescape(text, 0, group), instance};
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

std::string FieldName(const std::string& path) {
  return Escape(path, "._-+,:/~");
}

bool IsWithin(const std::string& path, const std::string& field) {
  return path.compare(0, field.size(), field) == 0 &&
         (path.size() == field.size() || field.empty() || path[field.size()] == '/');
}

std::string ObjectName(const ConfigStoreObjectId& id) {
  std::string name = Escape(id.component) + "/" + Escape(id.group) + "/" + Escape(id.key);
  if (!id.instanceId.empty()) name += "@" + Escape(id.instanceId);
  return name;
}

}  // namespace csctl
