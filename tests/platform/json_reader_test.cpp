#include "platform/json_reader.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>

using namespace OrvoConfigStore;

namespace {

std::string Nested(int levels) {
  return std::string(levels, '[') + std::string(levels, ']');
}

// What a text becomes when it is read and written; "" for one that is refused.
struct ReadCase {
  const char* name;
  std::string text;
  std::string written;
};

const ReadCase kReadCases[] = {
    {"SmallestInteger", "-9223372036854775808", "-9223372036854775808"},
    {"LargestInteger", "18446744073709551615", "18446744073709551615"},
    {"IntegerOver64Bits", "18446744073709551616", "18446744073709553000.0"},
    {"IntegerUnder64Bits", "-9223372036854775809", "-9223372036854776000.0"},
    {"MinusZero", "-0", "0"},
    {"MinusZeroFraction", "-0.0", "-0.0"},
    {"FractionStaysOne", "5.0", "5.0"},
    {"ExponentStaysFloating", "5e0", "5.0"},
    {"LargestDouble", "1.7976931348623157e308", "1.7976931348623157e308"},
    {"JustInfinite", "1.8e308", ""},
    {"InfiniteWithoutExponentLimit", "0.9e309", ""},
    {"HugeExponent", "1e99999999999", ""},
    {"SmallestSubnormal", "5e-324", "5e-324"},
    {"RoundsToZero", "1e-400", "0.0"},
    {"HardToRound", "9007199254740993.0", "9007199254740992.0"},
    {"NotANumber", "NaN", ""},
    {"LeadingZero", "01", ""},
    {"EscapedNul", "\"a\\u0000b\"", "\"a\\u0000b\""},
    {"RawNulInside", std::string("\"a\0b\"", 5), ""},
    {"RawNulBehind", std::string("5\0 ", 3), ""},
    {"ControlCharacter", "\"a\nb\"", ""},
    {"BrokenUtf8", "\"\xff\xc3\"", "\"\xff\xc3\""},
    {"LoneSurrogate", "\"\\ud800\"", ""},
    {"ByteOrderMark", "\xef\xbb\xbf{}", ""},
    {"Blanks", " \t\r\n{ \"a\" : [ 1 , null ] }\n", "{\"a\":[1,null]}"},
    {"TwoValues", "1 2", ""},
    {"Comment", "1 /* one */", ""},
    {"TrailingComma", "[1,]", ""},
    {"Empty", "", ""},
    {"DoubledMember", "{\"a\":1,\"a\":2}", "{\"a\":1,\"a\":2}"},
    {"DeepestAllowed", Nested(512), Nested(512)},
    {"OneDeeper", Nested(513), ""},
    {"AMillionDeep", Nested(1000000), ""},
    {"AMillionDeepUnclosed", std::string(1000000, '['), ""},
};

class ReadJsonText : public testing::TestWithParam<ReadCase> {};

TEST_P(ReadJsonText, GivesTheExactValueOrRefuses) {
  JsonStorage storage;
  JsonReadFailure failure;
  std::string written;
  const bool read = ReadJson(GetParam().text, storage.document, &failure);
  if (read) {
    ASSERT_TRUE(WriteJson(storage.document, written));
  } else {
    EXPECT_TRUE(storage.document.IsNull());
    EXPECT_STRNE("", failure.reason);
    EXPECT_LE(failure.offset, GetParam().text.size());
  }
  EXPECT_EQ(GetParam().written, written);
}

INSTANTIATE_TEST_SUITE_P(Texts, ReadJsonText, testing::ValuesIn(kReadCases),
                         [](const auto& test) { return std::string(test.param.name); });

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
    ASSERT_TRUE(ReadJson(text, storage.document, nullptr)) << text;
    ASSERT_TRUE(storage.document.IsDouble()) << text;
    const double back = storage.document.GetDouble();
    ASSERT_EQ(0, std::memcmp(&number, &back, sizeof number)) << text;
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
