#include "arguments.h"

#include <CLI/CLI.hpp>
#include <utility>

namespace csctl {

Argument& Argument::Required() {
  option_->required();
  return *this;
}

Argument& Argument::OneOf(std::vector<std::string> words) {
  option_->check(CLI::IsMember(std::move(words)));
  return *this;
}

Argument& Argument::Within(unsigned least, unsigned most) {
  option_->check(CLI::Range(least, most));
  return *this;
}

Argument& Argument::Shows(const char* valueName) {
  option_->type_name(valueName);
  return *this;
}

Argument& Argument::ShowsDefault() {
  option_->capture_default_str();
  return *this;
}

Argument& Argument::Needs(const Argument& other) {
  option_->needs(other.option_);
  return *this;
}

Argument& Argument::Excludes(const Argument& other) {
  option_->excludes(other.option_);
  return *this;
}

Argument Arguments::Option(const char* name, std::string& value, const char* help) {
  return Argument(command_.add_option(name, value, help));
}

Argument Arguments::Option(const char* name, std::vector<std::string>& values, const char* help) {
  return Argument(command_.add_option(name, values, help));
}

Argument Arguments::Option(const char* name, unsigned& value, const char* help) {
  return Argument(command_.add_option(name, value, help));
}

Argument Arguments::Flag(const char* name, bool& isSet, const char* help) {
  return Argument(command_.add_flag(name, isSet, help));
}

}  // namespace csctl
