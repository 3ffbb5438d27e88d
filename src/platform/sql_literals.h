#pragma once

#include <string>
#include <string_view>
#include <vector>

/// Lifting of literals: `... WHERE Name='ntp' and Value=?` becomes
/// `... WHERE Name=? and Value=?` with the parameters "ntp" and one that the
/// caller gives. So statements that differ in names alone share one
/// preparation, and a name is never read as SQL.
///
///   1. Only a text that begins with SELECT, INSERT, UPDATE or DELETE is lifted.
///   2. A quoted literal is lifted where a value stands: after "=", "(" or ",",
///      blanks skipped. Names of tables and aliases never stand there.
///   3. Two quotes within a literal are one.
///   4. A text with a comment, a named or numbered parameter or an unclosed
///      quote is left alone; so is one with a word right behind a literal.

namespace DBStore {

/// A bound parameter: the text of a literal, or a place that the caller fills.
struct Parameter {
  bool isGiven;
  std::string_view literal;
};

struct LiftedStatement {
  std::string text;
  std::vector<Parameter> parameters;  // in text order

  /// Literals that held two quotes, without them.
  std::string unquoted;
};

/// Lifts the literals of `sql` into `lifted`, whose memory is used again. The
/// parameters refer to `sql` and to `lifted`, which must both outlive their use.
/// Returns false when the text is to be run as it is.
bool LiftLiterals(std::string_view sql, LiftedStatement* lifted);

}  // namespace DBStore
