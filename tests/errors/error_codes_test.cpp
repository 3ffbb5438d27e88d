#include "errors/error_codes.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "configstore/errors.h"

namespace OrvoConfigStore {
namespace {

std::string FormatOrFailure(int code) {
  try {
    return MessageFormat(code);
  } catch (const std::out_of_range& failure) {
    return std::string("! ") + failure.what();
  }
}

const std::string kFoundAtStartUp = FormatOrFailure(CS_JSON_INVALID);

TEST(ErrorCodes, AreFoundWhileStaticObjectsAreMade) {
  EXPECT_EQ("Invalid JSON", kFoundAtStartUp);
}

TEST(ErrorCodes, HaveTheirFormats) {
  const std::pair<int, const char*> kCases[] = {
      {CS_DB_OPEN_FAILED, "Failed to open database %s"},
      {CS_TYPE_INVALID, "Invalid type, %s"},  // the first of two
      {CS_NOT_NON_SINGLETON, "Not a Non-Singleton object: %s"},
      {CS_PARTIAL_BOOT_STATUS_FAILED, "Set Partial Boot Status operation failed"},
      {CS_VALIDATION_ERROR, "Validation Error: '%s' %s"},
      {CS_DEFAULT_CONFIG_INVALID, "Failed to validate Default config"},  // the first of two
      {CS_AUTO_CONFIG_INVALID, "Failed to validate Auto config"},
      {CS_CHILD_WAIT_FAILED, "Failed to wait for child process: %d, errno: %s"},
      {CS_INTERNAL_ERROR, "ConfigStore internal error"},
  };
  for (const auto& [code, format] : kCases) EXPECT_EQ(format, FormatOrFailure(code));
}

TEST(ErrorCodes, AreTheseAndNoOthers) {
  std::string known;
  for (int code = -1; code <= CS_GENERAL + 1; ++code) {
    const bool has = FormatOrFailure(code) != "! _Map_base::at";
    const bool had = FormatOrFailure(code - 1) != "! _Map_base::at";
    if (has != had) known += std::to_string(has ? code : code - 1) + (has ? "-" : " ");
  }
  EXPECT_EQ("1001-1018 1030-1060 1080-1084 1086-1092 1100-1105 ", known);
}

}  // namespace
}  // namespace OrvoConfigStore
