#include "platform/json_reader.h"

#include <charconv>
#include <cmath>

#include <rapidjson/internal/dtoa.h>

#include "platform/json_scan.h"
#include "platform/json_values.h"

namespace OrvoConfigStore {
namespace {

void WriteEscape(char c, std::string& out) {
  constexpr char kLetters[] = "btn\0fr";  // from \b on; \v has none
  constexpr char kDigits[] = "0123456789ABCDEF";
  const bool hasLetter = c >= '\b' && c <= '\r' && kLetters[c - '\b'] != '\0';
  out.push_back('\\');
  if (c == '"' || c == '\\') {
    out.push_back(c);
  } else if (hasLetter) {
    out.push_back(kLetters[c - '\b']);
  } else {
    out.append("u00").append(1, kDigits[c >> 4]).append(1, kDigits[c & 0xF]);
  }
}

bool WriteNumber(const JsonValue& value, std::string& out) {
  char text[32];
  char* end = text;
  if (value.IsDouble()) {
    if (!std::isfinite(value.GetDouble())) return false;
    end = rapidjson::internal::dtoa(value.GetDouble(), text);
  } else if (value.IsInt64()) {
    end = std::to_chars(text, text + sizeof text, value.GetInt64()).ptr;
  } else {
    end = std::to_chars(text, text + sizeof text, value.GetUint64()).ptr;
  }
  out.append(text, static_cast<size_t>(end - text));
  return true;
}

// `depth` counts the value itself; what was written of it stays when it fails.
bool WriteObject(const JsonValue& object, std::string& out, int depth);
bool WriteArray(const JsonValue& array, std::string& out, int depth);

bool WriteValue(const JsonValue& value, std::string& out, int depth) {
  switch (value.GetType()) {
    case rapidjson::kNullType:
      out.append("null");
      return true;
    case rapidjson::kFalseType:
      out.append("false");
      return true;
    case rapidjson::kTrueType:
      out.append("true");
      return true;
    case rapidjson::kStringType:
      WriteJsonText(TextOf(value), out);
      return true;
    case rapidjson::kNumberType:
      return WriteNumber(value, out);
    case rapidjson::kObjectType:
      return WriteObject(value, out, depth + 1);
    default:
      return WriteArray(value, out, depth + 1);
  }
}

bool WriteObject(const JsonValue& object, std::string& out, int depth) {
  if (depth > kMaxJsonDepth) return false;
  out.push_back('{');
  for (const auto& member : object.GetObject()) {
    if (out.back() != '{') out.push_back(',');
    WriteJsonText(TextOf(member.name), out);
    out.push_back(':');
    if (!WriteValue(member.value, out, depth)) return false;
  }
  out.push_back('}');
  return true;
}

bool WriteArray(const JsonValue& array, std::string& out, int depth) {
  if (depth > kMaxJsonDepth) return false;
  out.push_back('[');
  for (const JsonValue& element : array.GetArray()) {
    if (out.back() != '[') out.push_back(',');
    if (!WriteValue(element, out, depth)) return false;
  }
  out.push_back(']');
  return true;
}

}  // namespace

bool WriteJson(const JsonValue& value, std::string& out, int depth) {
  const size_t before = out.size();
  if (WriteValue(value, out, depth)) return true;
  out.resize(before);
  return false;
}

void WriteJsonText(std::string_view text, std::string& out) {
  const char* at = text.data();
  const char* const end = at + text.size();
  out.push_back('"');
  for (;;) {
    const char* const escaped = FindEscaped(at, end);
    out.append(at, static_cast<size_t>(escaped - at));
    if (escaped == end) break;
    WriteEscape(*escaped, out);
    at = escaped + 1;
  }
  out.push_back('"');
}

}  // namespace OrvoConfigStore
