#include "configstore/object_name.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstring>

#include "configstore/errors.h"
#include "platform/rapidjson.h"

namespace OrvoConfigStore {
namespace {

[[noreturn]] void Refuse(const char* why) {
  throw InvalidArgumentException(CS_GENERAL, why);
}

/// Returns the byte of two hexadecimal digits, 0 for anything else.
char HexByte(const std::string& digits) {
  if (digits.size() != 2 || std::isxdigit(static_cast<unsigned char>(digits[0])) == 0 ||
      std::isxdigit(static_cast<unsigned char>(digits[1])) == 0) {
    return 0;
  }
  return static_cast<char>(std::stoi(digits, nullptr, 16));
}

/// Returns the length of the character at `at` when it can stand in a name as it
/// is, 0 when it must be escaped: a sign, a control character, broken UTF-8.
size_t PlainLength(const std::string& part, size_t at) {
  constexpr char kPlainSigns[] = "._-+,:=";
  constexpr unsigned kFirstBeyondControls = 0xa0;
  const auto byte = static_cast<unsigned char>(part[at]);
  if (byte < 0x80) return std::isalnum(byte) != 0 || (byte != 0 && std::strchr(kPlainSigns, byte) != nullptr) ? 1 : 0;
  rapidjson::MemoryStream bytes(part.data() + at, part.size() - at);
  unsigned character = 0;
  const bool isWhole = rapidjson::UTF8<>::Decode(bytes, &character);
  return isWhole && character >= kFirstBeyondControls ? bytes.Tell() : 0;
}

}  // namespace

std::string UnescapeNamePart(const std::string& text) {
  std::string part;
  for (size_t at = 0; at < text.size(); ++at) {
    if (text[at] != '%') {
      part += text[at];
      continue;
    }
    const char byte = HexByte(text.substr(at + 1, 2));
    if (byte == 0) Refuse("\"%\" must be followed by two hexadecimal digits other than 00");
    part += byte;
    at += 2;
  }
  if (part.empty()) Refuse("a part of the name is empty");
  return part;
}

std::string EscapeNamePart(const std::string& part) {
  std::string escaped;
  for (size_t at = 0; at < part.size();) {
    const size_t length = PlainLength(part, at);
    char hex[4];
    std::snprintf(hex, sizeof hex, "%%%02X", static_cast<unsigned char>(part[at]));
    escaped += length == 0 ? hex : part.substr(at, length);
    at += length == 0 ? 1 : length;
  }
  return escaped;
}

ConfigStoreObjectId ParseObjectName(const std::string& text) {
  const size_t group = text.find('/');
  const size_t key = group == std::string::npos ? group : text.find('/', group + 1);
  if (key == std::string::npos) Refuse("this is not the name of an object");
  if (text.find("#/", key + 1) != std::string::npos) Refuse("this names a field (\"#/...\") and not an object");
  const size_t at = std::min(text.find('@', key + 1), text.size());
  if (text.find('/', key + 1) < at) Refuse("a \"/\" inside a key is written %2F");
  const auto part = [&](size_t begin, size_t end) { return UnescapeNamePart(text.substr(begin, end - begin)); };
  const std::string instance = at == text.size() ? "" : part(at + 1, text.size());
  return {part(key + 1, at), part(group + 1, key), part(0, group), instance};
}

std::string ObjectName(const ConfigStoreObjectId& id) {
  std::string name = EscapeNamePart(id.component) + "/" + EscapeNamePart(id.group) + "/" + EscapeNamePart(id.key);
  if (!id.instanceId.empty()) name += "@" + EscapeNamePart(id.instanceId);
  return name;
}

}  // namespace OrvoConfigStore
