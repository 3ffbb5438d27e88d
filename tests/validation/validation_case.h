#pragma once

#include <unordered_set>

#include "objects/json_access.h"
#include "support/test_store.h"

using Checks = std::unordered_set<int>;

/// One validation and what it finds. JSON is written with ' for ".
struct ValidationCase {
  const char* schema;
  const char* data;
  Checks checks;
  const char* violations;  ///< "field: error; field: error"; "" is valid
};

/// Returns the errors of a validation as a case states them.
inline std::string Text(const OrvoConfigStore::JsonDocument& errors) {
  std::string text;
  for (const auto& error : errors.GetArray()) {
    text += (text.empty() ? "" : "; ") + std::string(error["field"].GetString()) + ": " + error["error"].GetString();
  }
  return text;
}

/// Validates two texts; what is thrown takes the place of the errors.
inline std::string Violations(const std::string& schema, const std::string& data, const Checks& checks) {
  std::string text;
  const std::string thrown = Thrown([&] {
    const auto errors = OrvoConfigStore::CreateDocument();
    OrvoConfigStore::ValidateJson(Quoted(schema), Quoted(data), *errors->document, checks);
    text = Text(*errors->document);
  });
  return thrown.empty() ? text : thrown;
}

template <class Rows>
void ExpectViolations(const Rows& rows) {
  for (const ValidationCase& row : rows) {
    EXPECT_EQ(row.violations, Violations(row.schema, row.data, row.checks)) << row.schema << " on " << row.data;
  }
}
