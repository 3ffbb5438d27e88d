#pragma once

#include <initializer_list>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "platform/sql_literals.h"

/// Forms: statement texts with places for names ("%s" in order, or "%N$s"), which
/// FormatSql fills and LiftLiterals takes out again. Where every place is a whole
/// literal in value position, the outcome of both is known from the form alone,
/// and its names are bound without a text being written.

namespace DBStore {

/// A form and the names that fill its places.
struct NamedText {
  std::string_view form;
  std::initializer_list<std::string_view> names;
};

/// The lifted forms of a connection.
class FormCache {
 public:
  /// Whether the form needs not be written out.
  bool CanLift(std::string_view form) { return !Find(form).text.empty(); }

  /// Fills `lifted` as LiftLiterals does for the filled form; the parameters refer
  /// to the names. Throws ConfigStoreException(2000) as FormatSql does.
  void Lift(const NamedText& named, LiftedStatement* lifted);

 private:
  static constexpr size_t kGiven = static_cast<size_t>(-1);

  struct Form {
    std::string form;
    std::string text;            // lifted; empty when the form has to be written out
    std::vector<size_t> places;  // by parameter: which name it takes, or kGiven
  };

  const Form& Find(std::string_view form);
  static Form Compile(std::string_view form);

  // By address: forms are constants. Another text at the same place replaces it.
  std::unordered_map<const char*, Form> forms_;
};

}  // namespace DBStore
