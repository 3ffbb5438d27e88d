#pragma once

#include <configstore/diagnostics.h>
#include <configstore/errors.h>

#include <functional>
#include <string>
#include <vector>

#include "object_input.h"

/// Saying what is wrong with a text that the library refuses.

namespace csctl {

using OrvoConfigStore::Diagnostic;
using Diagnose = std::function<std::vector<Diagnostic>()>;

/// Fails with what the library threw over `input`, and what `diagnose` finds in it.
/// What is not the fault of the text is thrown on as it is.
[[noreturn]] void FailDiagnosed(const OrvoConfigStore::ConfigStoreException& error, const InputText& input,
                                const Diagnose& diagnose);

/// Runs `write`, which stores what `input` holds, and explains a refusal.
template <class Write>
auto WriteDiagnosed(const InputText& input, const Diagnose& diagnose, Write write) {
  try {
    return write();
  } catch (const OrvoConfigStore::ConfigStoreException& error) {
    FailDiagnosed(error, input, diagnose);
  }
}

/// Returns a finding as a line: "line 3, column 7: /link/1/mtu [eth1]: ...".
std::string DiagnosticLine(const Diagnostic& found);
/// Returns it without its position.
std::string DiagnosticText(const Diagnostic& found);
/// Returns it as compilers do: "FILE:3:7: error: ...".
std::string CompilerLine(const std::string& file, const Diagnostic& found);
std::string DiagnosticJson(const Diagnostic& found);

}  // namespace csctl
