#include "json_text.h"

#include <cstdio>

namespace csctl {

namespace {

unsigned char Byte(const std::string& text, size_t at) {
  return at < text.size() ? static_cast<unsigned char>(text[at]) : 0;
}

std::string Hex(const char* format, unsigned value) {
  char text[8];
  std::snprintf(text, sizeof text, format, value);
  return text;
}

/// The sequence lengths of UTF-8 and the least value that each may code.
struct Utf8Form {
  unsigned char mask, lead;
  size_t length;
  unsigned least;
};
const Utf8Form kUtf8Forms[] = {
    {0x80, 0x00, 1, 0}, {0xe0, 0xc0, 2, 0x80}, {0xf0, 0xe0, 3, 0x800}, {0xf8, 0xf0, 4, 0x10000}};

/// Reads one character; `length` is 0 when there is none.
struct Utf8Character {
  size_t length = 0;
  unsigned value = 0;
};

Utf8Character ReadUtf8(const std::string& text, size_t at) {
  for (const Utf8Form& form : kUtf8Forms) {
    if ((Byte(text, at) & form.mask) != form.lead) continue;
    unsigned value = Byte(text, at) & static_cast<unsigned char>(~form.mask);
    for (size_t i = 1; i < form.length; ++i) {
      if ((Byte(text, at + i) & 0xc0) != 0x80) return {};
      value = value << 6 | (Byte(text, at + i) & 0x3f);
    }
    const bool surrogate = value >= 0xd800 && value <= 0xdfff;
    if (value < form.least || value > 0x10ffff || surrogate) return {};
    return {form.length, value};
  }
  return {};
}

bool IsControl(unsigned value) {
  return value < 0x20 || (value >= 0x7f && value < 0xa0);
}

/// Appends the character at `at` to `out` as it stands inside a JSON string, but
/// for what may not be shown; returns its length.
size_t AppendShielded(const std::string& text, size_t at, std::string& out) {
  const Utf8Character character = ReadUtf8(text, at);
  if (character.length == 0) {
    out += "\\ufffd";
    return 1;
  }
  if (IsControl(character.value)) {
    out += Hex("\\u%04x", character.value);
  } else {
    out.append(text, at, character.length);
  }
  return character.length;
}

/// Returns where the string that begins at `quote` has its closing quote.
size_t EndOfString(const std::string& json, size_t quote) {
  size_t at = quote + 1;
  while (at < json.size() && json[at] != '"') at += json[at] == '\\' ? 2 : 1;
  return at;
}

template <class Items, class Append>
std::string Join(char open, char close, const Items& items, Append append) {
  std::string json(1, open);
  for (const auto& item : items) {
    if (json.size() > 1) json += ',';
    append(json, item);
  }
  return json + close;
}

}  // namespace

size_t ShownLength(const std::string& text, size_t at) {
  const Utf8Character character = ReadUtf8(text, at);
  return IsControl(character.value) ? 0 : character.length;
}

std::string Printable(const std::string& text) {
  std::string shown;
  for (size_t at = 0; at < text.size();) {
    const size_t length = ShownLength(text, at);
    if (length == 0) shown += Hex("\\x%02x", Byte(text, at));
    shown.append(text, at, length);
    at += length == 0 ? 1 : length;
  }
  return shown;
}

std::string JsonString(const std::string& text) {
  std::string json = "\"";
  for (size_t at = 0; at < text.size();) {
    if (text[at] == '"' || text[at] == '\\') json += '\\';
    at += AppendShielded(text, at, json);
  }
  return json + '"';
}

const char* JsonBool(bool value) {
  return value ? "true" : "false";
}

std::string JsonObject(const std::vector<std::pair<std::string, std::string>>& members) {
  return Join('{', '}', members,
              [](std::string& json, const auto& member) { json += JsonString(member.first) + ":" + member.second; });
}

std::string JsonArray(const std::vector<std::string>& elements) {
  return Join('[', ']', elements, [](std::string& json, const std::string& element) { json += element; });
}

std::string IndentJson(const std::string& json) {
  std::string laidOut;
  size_t depth = 0;
  const auto newLine = [&] { laidOut += "\n" + std::string(2 * depth, ' '); };
  for (size_t at = 0; at < json.size(); ++at) {
    const char c = json[at];
    if (c == '"') {
      const size_t end = EndOfString(json, at);
      laidOut.append(json, at, end - at + 1);
      at = end;
    } else if (c == '{' || c == '[') {
      laidOut += c;
      if (Byte(json, at + 1) == '}' || Byte(json, at + 1) == ']') {
        laidOut += json[++at];
      } else {
        ++depth;
        newLine();
      }
    } else if (c == '}' || c == ']') {
      --depth;
      newLine();
      laidOut += c;
    } else {
      laidOut += c;
      if (c == ',') newLine();
      if (c == ':') laidOut += ' ';
    }
  }
  return laidOut;
}

std::string ShieldJson(const std::string& json) {
  std::string shielded;
  for (size_t at = 0; at < json.size();) {
    if (json[at] == '\n') {
      shielded += json[at++];  // between values; inside strings it is an escape already
    } else {
      at += AppendShielded(json, at, shielded);
    }
  }
  return shielded;
}

}  // namespace csctl
