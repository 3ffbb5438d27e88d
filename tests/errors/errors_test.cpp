#include "configstore/errors.h"

#include "errors/error_codes.h"
#include "platform/failure.h"
#include "support/test_store.h"

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

// clang-format off
const struct { void (*fail)(); const std::type_info& type; const char* text; } kThrowCases[] = {
    {[] { ThrowException<InvalidArgumentException>(CS_JSON_FILE_INVALID, "/x%s.json"); },
     typeid(InvalidArgumentException), "Error Code: 1081\nMessage: Failed to parse JSON file /x%s.json\n"},
    {[] { ThrowException<InvalidTypeException>(CS_TYPE_INVALID, "abc"); }, typeid(InvalidTypeException),
     "Error Code: 1030\nMessage: Invalid type, abc\n"},
    {[] { ThrowException<ConfigStoreException>(CS_CHILD_WAIT_FAILED, 7, "x"); }, typeid(ConfigStoreException),
     "Error Code: 1103\nMessage: Failed to wait for child process: 7, errno: x\n"},
    {[] { throw ConfigStoreException(CS_GENERAL, "Object already exists."); }, typeid(ConfigStoreException),
     "Error Code: 2000\nMessage: Object already exists.\n"},
    {[] { ThrowInvalidJson(); }, typeid(ConfigStoreException), "Error Code: 2000\nMessage: Invalid JSON\n"},
    {[] { ThrowPlatformFailure("100% full"); }, typeid(ConfigStoreException),
     "Error Code: 2000\nMessage: 100% full\n"},
    {[] { ThrowValidation(CS_DEFAULT_CONFIG_INVALID, {}); }, typeid(ValidationException),
     "Error Code: 1084\nMessage: Failed to validate Default config\n"},
    {[] { ThrowValidation(CS_VALIDATION_ERROR, {{"a", "bad"}, {"b", "worse"}}, "k", "no"); },
     typeid(ValidationException), "Error Code: 1083\nMessage: Validation Error: 'k' no\nDetails: \na: bad\nb: worse\n"},
};
// clang-format on

TEST(Exceptions, FillTheMessageAndAreLoggedOnce) {
  const TempRoot root;
  for (const auto& row : kThrowCases) {
    const LogCapture log(root);
    std::string text, logged;
    try {
      row.fail();
    } catch (const ConfigStoreException& thrown) {
      EXPECT_EQ(row.type, typeid(thrown));
      const auto* validation = dynamic_cast<const ValidationException*>(&thrown);
      text = validation == nullptr ? thrown.toString() : validation->toString();
      logged = "[" + std::to_string(thrown.GetErrorCode()) + "] " + thrown.what();
    }
    EXPECT_EQ(row.text, text);
    ASSERT_EQ(2u, log.Lines().size());
    EXPECT_EQ(logged, log.Lines()[0]);
    EXPECT_EQ(0u, log.Lines()[1].find("ConfigStoreException: configstore:")) << log.Lines()[1];
  }
}

}  // namespace
}  // namespace OrvoConfigStore
