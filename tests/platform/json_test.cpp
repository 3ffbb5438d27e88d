#include <cmath>
#include <cstring>
#include <limits>
#include <random>

#include "platform/json_reader.h"
#include "platform/json_values.h"
#include "support/test_store.h"

using namespace OrvoConfigStore;

namespace {

std::string Nested(size_t levels) {
  return Repeated("[", levels) + Repeated("]", levels);
}

// What a text becomes when it is read and written; "" for one that is refused.
// clang-format off
const struct { const char* name; std::string text, written; } kReadCases[] = {
    {"smallest integer", "-9223372036854775808", "-9223372036854775808"},
    {"largest integer", "18446744073709551615", "18446744073709551615"},
    {"integer over 64 bits", "18446744073709551616", "18446744073709553000.0"},
    {"integer under 64 bits", "-9223372036854775809", "-9223372036854776000.0"},
    {"minus zero", "-0", "0"}, {"minus zero as a fraction", "-0.0", "-0.0"},
    {"a fraction stays one", "5.0", "5.0"}, {"an exponent stays floating", "5e0", "5.0"},
    {"largest double", "1.7976931348623157e308", "1.7976931348623157e308"},
    {"just infinite", "1.8e308", ""}, {"infinite by its digits", "0.9e309", ""}, {"huge exponent", "1e99999999999", ""},
    {"smallest subnormal", "5e-324", "5e-324"}, {"rounds to zero", "1e-400", "0.0"},
    {"hard to round", "9007199254740993.0", "9007199254740992.0"}, {"no number", "NaN", ""}, {"leading zero", "01", ""},
    {"escaped NUL", "\"a\\u0000b\"", "\"a\\u0000b\""}, {"raw NUL inside", std::string("\"a\0b\"", 5), ""},
    {"raw NUL behind", std::string("5\0 ", 3), ""}, {"control character", "\"a\nb\"", ""},
    {"broken UTF-8", "\"\xff\xc3\"", "\"\xff\xc3\""}, {"lone surrogate", "\"\\ud800\"", ""},
    {"byte order mark", "\xef\xbb\xbf{}", ""}, {"blanks", " \t\r\n{ \"a\" : [ 1 , null ] }\n", "{\"a\":[1,null]}"},
    {"many digits", "0." + Repeated("3", 100000), "0.3333333333333333"}, {"pair", "\"\\ud83d\\ude00\"", "\"\xf0\x9f\x98\x80\""},
    {"plus", "+1", ""}, {"no digit before the point", ".5", ""}, {"none behind it", "1.", ""}, {"no exponent", "1e", ""},
    {"hexadecimal", "0x10", ""}, {"infinite by its name", "Infinity", ""}, {"unknown escape", "\"\\q\"", ""},
    {"two values", "1 2", ""}, {"comment", "1 /* one */", ""}, {"trailing comma", "[1,]", ""}, {"empty", "", ""},
    {"doubled member", "{\"a\":1,\"a\":2}", "{\"a\":1,\"a\":2}"},
    {"deepest allowed", Nested(512), Nested(512)}, {"one deeper", Nested(513), ""},
    {"a million deep", Nested(1000000), ""}, {"a million deep, unclosed", Repeated("[", 1000000), ""},
};
// clang-format on

TEST(JsonText, GivesTheExactValueOrIsRefused) {
  for (const auto& row : kReadCases) {
    SCOPED_TRACE(row.name);
    JsonStorage storage;
    JsonReadFailure failure;
    std::string written;
    if (ReadJson(row.text, storage.document, &failure)) {
      EXPECT_TRUE(WriteJson(storage.document, written));
    } else {
      EXPECT_TRUE(storage.document.IsNull());
      EXPECT_STRNE("", failure.reason);
      EXPECT_LE(failure.offset, row.text.size());
    }
    EXPECT_EQ(row.written, written);
  }
}

TEST(JsonText, RandomDoublesSurviveWritingAndReading) {
  std::mt19937_64 random(20260101);
  for (int i = 0; i < 50000; ++i) {
    const uint64_t bits = random();
    double number;
    std::memcpy(&number, &bits, sizeof number);
    if (!std::isfinite(number)) continue;
    JsonStorage storage;
    std::string text;
    ASSERT_TRUE(WriteJson(JsonValue(number), text));
    ASSERT_TRUE(ReadJson(text, storage.document, nullptr) && storage.document.IsDouble()) << text;
    const double back = storage.document.GetDouble();
    ASSERT_EQ(0, std::memcmp(&number, &back, sizeof number)) << text;
  }
}

struct Sink {
  using Ch = char;
  std::string text;
  void Put(char c) { text.push_back(c); }
  void Flush() {}
};

// The library's own parser judges as ours, which takes most texts by a quick way.
TEST(JsonText, DamagedTextsAreJudgedAsByThePlainParser) {
  const std::string seeds[] = {
      R"({"name":"a-1","n":[1,-20,1.25e2],"on":true,"off":null,"in":{"t":"long enough text"}})",
      R"([ "\u00e4\n", "\"" , 123456789012345678, {"":{}} , [[ ]], false ])"};
  const char bytes[] = "{}[]\",:\\ 0e.-\x01\xff";
  std::mt19937_64 random(20260102);
  for (int i = 0; i < 40000; ++i) {
    std::string text = seeds[i % 2];
    for (uint64_t changes = 1 + random() % 2; changes > 0; --changes) {
      text[random() % text.size()] = bytes[random() % (sizeof bytes - 1)];
    }
    JsonStorage storage;
    rapidjson::Document plain;
    plain.Parse(text.c_str());
    ASSERT_EQ(!plain.HasParseError(), ReadJson(text, storage.document, nullptr)) << text;
    if (plain.HasParseError()) continue;
    Sink expected;
    rapidjson::Writer<Sink> writer(expected);
    plain.Accept(writer);
    std::string written;
    ASSERT_TRUE(WriteJson(storage.document, written));
    ASSERT_EQ(expected.text, written) << text;
  }
}

// Strings are looked through several characters at a time.
TEST(JsonText, EveryPlaceOfAStringIsLookedAt) {
  for (size_t length = 1; length < 40; ++length) {
    for (size_t place = 0; place < length; ++place) {
      for (const char special : {'"', '\\', '\n', '\x1f', ' ', '\x7f', '\xff'}) {
        std::string text(length, place % 2 == 0 ? 'a' : '\xc3');
        text[place] = special;
        JsonStorage storage;
        std::string written;
        ASSERT_TRUE(WriteJson(TextValue(text, storage.allocator), written));
        ASSERT_TRUE(ReadJson(written, storage.document, nullptr));
        ASSERT_EQ(text, TextOf(storage.document));
        const bool isPlain = special == ' ' || special == '\x7f' || special == '\xff';
        ASSERT_EQ(isPlain, ReadJson('"' + text + '"', storage.document, nullptr)) << written;
      }
    }
  }
}

TEST(JsonText, WhatCannotBeReadBackIsNotWritten) {
  JsonStorage storage;
  JsonValue value(1);
  for (int i = 0; i < kMaxJsonDepth + 1; ++i) {
    JsonValue list(rapidjson::kArrayType);
    list.PushBack(value, storage.allocator);
    value = list;
  }
  std::string out = "before";
  EXPECT_FALSE(WriteJson(value, out));
  EXPECT_FALSE(WriteJson(JsonValue(std::numeric_limits<double>::infinity()), out));
  EXPECT_EQ("before", out);
  EXPECT_TRUE(WriteJson(value[0], out));
}

}  // namespace
