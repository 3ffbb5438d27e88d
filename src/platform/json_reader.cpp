#include "platform/json_reader.h"

#include <algorithm>
#include <charconv>
#include <clocale>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <utility>

#include <rapidjson/error/en.h>

#include "platform/json_plain.h"

namespace OrvoConfigStore {
namespace {

constexpr size_t kParseStack = 1024;
constexpr size_t kMinChunk = 512;
constexpr size_t kMaxChunk = size_t{64} << 10;

// A parsed text takes about twice its length; small objects are kept by the
// hundred thousand, so their chunks must not be larger than they need.
size_t ChunkFor(size_t textLength) {
  return std::clamp(textLength * 2, kMinChunk, kMaxChunk);
}

JsonHeap* SharedHeap() {
  static JsonHeap heap;
  return &heap;
}

// A storage and the first memory that it draws from.
template <size_t kBytes>
struct RoomyStorage {
  explicit RoomyStorage(size_t textLength) : storage(room, kBytes, textLength) {}

  alignas(std::max_align_t) char room[kBytes];
  JsonStorage storage;
};

template <size_t kBytes>
std::shared_ptr<JsonStorage> NewRoomyStorage(size_t textLength) {
  auto roomy = std::make_shared<RoomyStorage<kBytes>>(textLength);
  JsonStorage* const storage = &roomy->storage;
  return {std::move(roomy), storage};
}

// Converts what std::from_chars calls out of range: infinite, or so small that
// it rounds to a subnormal number or to zero.
double ConvertExtreme(const char* text) {
  static const locale_t c = newlocale(LC_ALL_MASK, "C", locale_t{});
  return strtod_l(text, nullptr, c);
}

// Feeds a document from the parser: converts numbers and bounds the depth. The
// parser ends when a function returns false.
class DocumentBuilder {
 public:
  DocumentBuilder(JsonDocument& document, int levels) : document_(document), levels_(levels) {}

  bool Null() { return document_.Null(); }
  bool Bool(bool value) { return document_.Bool(value); }
  bool String(const char* text, rapidjson::SizeType length, bool copy) { return document_.String(text, length, copy); }
  bool Key(const char* text, rapidjson::SizeType length, bool copy) { return document_.Key(text, length, copy); }
  bool StartObject() { return Deeper() && document_.StartObject(); }
  bool StartArray() { return Deeper() && document_.StartArray(); }
  bool EndObject(rapidjson::SizeType members) {
    --depth_;
    return document_.EndObject(members);
  }
  bool EndArray(rapidjson::SizeType elements) {
    --depth_;
    return document_.EndArray(elements);
  }

  bool RawNumber(const char* text, rapidjson::SizeType length, bool) {
    const char* end = text + length;
    if (std::find_if(text, end, [](char c) { return c == '.' || c == 'e' || c == 'E'; }) == end) {
      int64_t whole;
      if (std::from_chars(text, end, whole).ec == std::errc()) return document_.Int64(whole);
      uint64_t large;
      if (std::from_chars(text, end, large).ec == std::errc()) return document_.Uint64(large);
    }
    double number = 0;
    if (std::from_chars(text, end, number).ec != std::errc()) number = ConvertExtreme(text);
    return std::isfinite(number) ? document_.Double(number) : Refuse("Number is not finite.");
  }

  // The parser knows these, numbers come as text.
  bool Int(int) { return false; }
  bool Uint(unsigned) { return false; }
  bool Int64(int64_t) { return false; }
  bool Uint64(uint64_t) { return false; }
  bool Double(double) { return false; }

  /// Why a function returned false; null when none did.
  const char* Reason() const { return reason_; }

 private:
  bool Deeper() {
    static_assert(kMaxJsonDepth == 512 && kDocumentLevels == 5, "the texts say so");
    if (++depth_ <= levels_) return true;
    return Refuse(levels_ > kMaxJsonDepth ? "Nested deeper than 517 levels." : "Nested deeper than 512 levels.");
  }
  bool Refuse(const char* reason) {
    reason_ = reason;
    return false;
  }

  JsonDocument& document_;
  const int levels_;
  int depth_ = 0;
  const char* reason_ = nullptr;
};

// Runs the parser inside the document, which then takes the value over.
struct Generator {
  const std::string& text;
  const int levels;
  JsonReadFailure& failure;

  bool operator()(JsonDocument& document) {
    rapidjson::StringStream stream(text.c_str());
    rapidjson::GenericReader<rapidjson::UTF8<char>, rapidjson::UTF8<char>, JsonHeap> reader(SharedHeap());
    DocumentBuilder builder(document, levels);
    const rapidjson::ParseResult result = reader.Parse<rapidjson::kParseNumbersAsStringsFlag>(stream, builder);
    if (!result.IsError()) return true;
    failure.offset = result.Offset();
    failure.reason = builder.Reason() != nullptr ? builder.Reason() : rapidjson::GetParseError_En(result.Code());
    return false;
  }
};

// The quick reader, likewise.
struct PlainGenerator {
  std::string_view text;
  bool isDone = false;

  bool operator()(JsonDocument& document) { return isDone = ReadPlainJson(text, document); }
};

}  // namespace

JsonStorage::JsonStorage(size_t textLength)
    : allocator(ChunkFor(textLength), SharedHeap()), document(&allocator, kParseStack, SharedHeap()) {}

JsonStorage::JsonStorage(void* room, size_t bytes, size_t textLength)
    : allocator(room, bytes, ChunkFor(textLength), SharedHeap()), document(&allocator, kParseStack, SharedHeap()) {}

std::shared_ptr<JsonStorage> NewStorage(size_t textLength) {
  const size_t bytes = ChunkFor(textLength);
  if (bytes <= 512) return NewRoomyStorage<512>(textLength);
  if (bytes <= 640) return NewRoomyStorage<640>(textLength);
  if (bytes <= 768) return NewRoomyStorage<768>(textLength);
  if (bytes <= 1024) return NewRoomyStorage<1024>(textLength);
  return std::make_shared<JsonStorage>(textLength);
}

std::shared_ptr<JsonStorage> CopyToStorage(const JsonValue& value) {
  auto storage = std::make_shared<JsonStorage>();
  storage->document.CopyFrom(value, storage->allocator);
  return storage;
}

bool ReadJson(std::string_view view, JsonDocument& document, JsonReadFailure* failure, int levels) {
  document.SetNull();
  PlainGenerator plain{view};
  document.Populate(plain);
  if (plain.isDone) return true;
  const std::string text(view);  // with an ending NUL
  JsonReadFailure met;
  // The parser takes a NUL for the end of the text.
  const size_t nul = text.find('\0');
  bool done = false;
  if (nul != std::string::npos) {
    met = {nul, "Text holds a NUL byte."};
  } else {
    met.reason = nullptr;
    Generator generator{text, levels, met};
    document.Populate(generator);
    done = met.reason == nullptr;
  }
  if (!done && failure != nullptr) *failure = met;
  return done;
}

}  // namespace OrvoConfigStore
