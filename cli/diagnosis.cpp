#include "diagnosis.h"

#include <cstring>

#include "failure.h"
#include "json_text.h"
#include "object_name.h"

namespace csctl {

using OrvoConfigStore::ConfigStoreException;

namespace {

/// Whether the text alone is at fault: it has violations, or no form at all.
bool BlamesText(const ConfigStoreException& error) {
  if (const auto* validation = dynamic_cast<const OrvoConfigStore::ValidationException*>(&error)) {
    return !validation->GetErrors().empty();
  }
  if (dynamic_cast<const OrvoConfigStore::InvalidArgumentException*>(&error) != nullptr) return true;
  // What a write cannot split into layers.
  for (const char* reason : {"Invalid JSON", "Invalid field in schema: "}) {
    if (std::strstr(error.what(), reason) != nullptr) return true;
  }
  return false;
}

}  // namespace

void FailDiagnosed(const ConfigStoreException& error, const InputText& input, const Diagnose& diagnose) {
  if (!BlamesText(error)) throw;
  Failure failure = Explain(error, "");
  failure.diagnostics = diagnose();
  // A fault of what is stored may look alike; then nothing is wrong with the text.
  const bool isInvalid = dynamic_cast<const OrvoConfigStore::ValidationException*>(&error) != nullptr;
  if (failure.diagnostics.empty() && !isInvalid) throw;
  if (!isInvalid) {
    failure.exit = Exit::kInvalid;
    failure.message = error.what();
    failure.where = input.name;
    failure.next = "correct it and try again; nothing was changed";
  }
  throw CommandFailed(failure);
}

std::string DiagnosticText(const Diagnostic& found) {
  std::string text = found.isWarning ? "warning: " : "";
  text += Printable(found.pointer);
  if (!found.instance.empty()) text += " [" + Printable(found.instance) + "]";
  if (!found.pointer.empty()) text += ": ";
  text += Printable(found.violation.error);
  if (!found.rule.empty()) text += "; allowed: " + Printable(found.rule);
  if (!found.nearest.empty()) text += "; did you mean \"" + Printable(found.nearest) + "\"?";
  return text;
}

std::string DiagnosticLine(const Diagnostic& found) {
  if (found.line == 0) return DiagnosticText(found);
  return "line " + std::to_string(found.line) + ", column " + std::to_string(found.column) + ": " +
         DiagnosticText(found);
}

std::string CompilerLine(const std::string& file, const Diagnostic& found) {
  const std::string position =
      found.line == 0 ? "" : std::to_string(found.line) + ":" + std::to_string(found.column) + ":";
  return file + ":" + position + (found.isWarning ? " " : " error: ") + DiagnosticText(found);
}

std::string DiagnosticJson(const Diagnostic& found) {
  return JsonObject({{"severity", JsonString(found.isWarning ? "warning" : "error")},
                     {"line", std::to_string(found.line)},
                     {"column", std::to_string(found.column)},
                     {"pointer", JsonString(found.pointer)},
                     {"object", found.object.key.empty() ? "null" : JsonString(ObjectName(found.object))},
                     {"instance", JsonString(found.instance)},
                     {"field", JsonString(found.violation.field)},
                     {"error", JsonString(found.violation.error)},
                     {"rule", JsonString(found.rule)},
                     {"nearest", JsonString(found.nearest)}});
}

}  // namespace csctl
