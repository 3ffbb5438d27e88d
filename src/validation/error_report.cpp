#include "validation/error_report.h"

#include <algorithm>

#include "configstore/logging.h"
#include "platform/json_reader.h"
#include "platform/json_values.h"

namespace OrvoConfigStore {

namespace {

// The array of errors and the error are two levels above the copy.
constexpr int kMaxCopyDepth = kMaxJsonDepth - 2;

}  // namespace

void ReportValidationError(const JsonValue& value, const std::string& path, const std::string& message,
                           JsonDocument& errors) {
  CSLogger::Log(CSLogger::LOG_PRIORITY_ERROR, "[Validator] Field: %s, Error: %s", path.c_str(), message.c_str());
  JsonAllocator& allocator = errors.GetAllocator();
  JsonValue entry(rapidjson::kObjectType);
  entry.AddMember("value", JsonValue(value, allocator), allocator);
  entry.AddMember("field", TextValue(path, allocator), allocator);
  entry.AddMember("error", TextValue(message, allocator), allocator);
  errors.PushBack(entry, allocator);
}

bool CopyAllowance::Take(const JsonValue& value) {
  return Count(value, 0);
}

bool CopyAllowance::Count(const JsonValue& value, int depth) {
  if (depth == kMaxCopyDepth && (value.IsObject() || value.IsArray())) return false;
  if (!Spend(sizeof(JsonValue) + (value.IsString() ? value.GetStringLength() : 0))) return false;
  if (value.IsObject()) {
    return std::all_of(value.MemberBegin(), value.MemberEnd(), [&](const auto& member) {
      return Count(member.name, depth + 1) && Count(member.value, depth + 1);
    });
  }
  return !value.IsArray() ||
         std::all_of(value.Begin(), value.End(), [&](const JsonValue& element) { return Count(element, depth + 1); });
}

bool CopyAllowance::Spend(size_t bytes) {
  if (bytes > bytes_) return false;
  bytes_ -= bytes;
  return true;
}

}  // namespace OrvoConfigStore
