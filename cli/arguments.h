#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
class Option;
}  // namespace CLI

/// What commands declare of their command lines. The parser's own header takes longer to
/// compile than any command, so only this, the tool's set-up and its completion include it.

namespace csctl {

/// An argument or option that has been declared; a handle, which the parser outlives.
class Argument {
 public:
  explicit Argument(CLI::Option* option) : option_(option) {}

  Argument& Required();
  /// One of these words is taken and no other.
  Argument& OneOf(std::vector<std::string> words);
  Argument& Within(unsigned least, unsigned most);
  /// Help calls the value so: "DIR".
  Argument& Shows(const char* valueName);
  /// Help tells the value that the variable holds now.
  Argument& ShowsDefault();
  Argument& Needs(const Argument& other);
  Argument& Excludes(const Argument& other);

 private:
  CLI::Option* option_;
};

/// The arguments of one command. A name like "-f,--file" is an option's, any other an
/// argument's. Values live as long as the parser does.
class Arguments {
 public:
  explicit Arguments(CLI::App& command) : command_(command) {}

  Argument Option(const char* name, std::string& value, const char* help);
  Argument Option(const char* name, std::vector<std::string>& values, const char* help);
  Argument Option(const char* name, unsigned& value, const char* help);
  Argument Flag(const char* name, bool& isSet, const char* help);

 private:
  CLI::App& command_;
};

}  // namespace csctl
