#include "platform/sql_forms.h"

#include "platform/failure.h"
#include "platform/sql_format.h"

namespace DBStore {

namespace {

constexpr size_t kMostForms = 256;

/// Reads a literal that is one place; false for any other. `next` counts the
/// places without a number.
bool ReadPlace(std::string_view literal, size_t* next, size_t* place) {
  if (literal == "%s") {
    *place = (*next)++;
    return true;
  }
  const bool isNumbered =
      literal.size() == 4 && literal[0] == '%' && literal[1] >= '1' && literal[1] <= '9' && literal.substr(2) == "$s";
  if (isNumbered) *place = static_cast<size_t>(literal[1] - '1');
  return isNumbered;
}

}  // namespace

FormCache::Form FormCache::Compile(std::string_view form) {
  Form compiled;
  compiled.form = form;
  LiftedStatement lifted;
  if (!LiftLiterals(form, &lifted) || lifted.text.find('%') != std::string::npos) return compiled;
  size_t next = 0;
  for (const Parameter& parameter : lifted.parameters) {
    size_t place = kGiven;
    if (!parameter.isGiven && !ReadPlace(parameter.literal, &next, &place)) return compiled;
    compiled.places.push_back(place);
  }
  compiled.text = lifted.text;
  return compiled;
}

const FormCache::Form& FormCache::Find(std::string_view form) {
  const auto found = forms_.find(form.data());
  if (found != forms_.end() && found->second.form == form) return found->second;
  if (forms_.size() >= kMostForms) forms_.clear();
  return forms_[form.data()] = Compile(form);
}

void FormCache::Lift(const NamedText& named, LiftedStatement* lifted) {
  const Form& form = Find(named.form);
  for (const std::string_view name : named.names) OrvoConfigStore::CheckName(name);
  lifted->text = form.text;
  lifted->parameters.clear();
  for (const size_t place : form.places) {
    if (place != kGiven && place >= named.names.size()) {
      OrvoConfigStore::ThrowPlatformFailure("A statement has more places than values.");
    }
    const std::string_view name = place == kGiven ? std::string_view() : named.names.begin()[place];
    lifted->parameters.push_back({place == kGiven, name});
  }
}

}  // namespace DBStore
