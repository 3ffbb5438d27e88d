#pragma once

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <unordered_set>

#include "configstore/validation.h"
#include "objects/json_access.h"
#include "support/test_store.h"

/// One validation and what it finds. JSON is written with ' for ".
struct ValidationCase {
  const char* name;
  const char* schema;
  const char* data;
  std::unordered_set<int> checks;
  const char* violations;  ///< "field: error; field: error"; "" is valid
};

inline void PrintTo(const ValidationCase& c, std::ostream* out) {
  *out << c.schema << " on " << c.data;
}

/// Returns `json` with " for '.
inline std::string Quoted(std::string json) {
  for (char& c : json) c = c == '\'' ? '"' : c;
  return json;
}

/// Returns the errors of a validation as a case states them.
inline std::string Text(const OrvoConfigStore::JsonDocument& errors) {
  std::string text;
  for (const auto& error : errors.GetArray()) {
    text += text.empty() ? "" : "; ";
    text += std::string(error["field"].GetString()) + ": " + error["error"].GetString();
  }
  return text;
}

/// Validates two texts; what is thrown takes the place of the errors.
inline std::string Violations(const std::string& schema, const std::string& data,
                              const std::unordered_set<int>& checks) {
  std::string text;
  const std::string thrown = Thrown([&] {
    const auto errors = OrvoConfigStore::CreateDocument();
    OrvoConfigStore::ValidateJson(Quoted(schema), Quoted(data), *errors->document, checks);
    text = Text(*errors->document);
  });
  return thrown.empty() ? text : thrown;
}

class Validation : public testing::TestWithParam<ValidationCase> {};

inline std::string CaseName(const testing::TestParamInfo<ValidationCase>& info) {
  return info.param.name;
}
