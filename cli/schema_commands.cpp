#include <configstore/schema_tools.h>

#include <algorithm>

#include "command.h"
#include "json_text.h"
#include "object_input.h"
#include "object_name.h"

namespace csctl {

using OrvoConfigStore::ExportedPart;
using OrvoConfigStore::PageFormat;
using OrvoConfigStore::SchemaFinding;

namespace {

// --- schema lint -------------------------------------------------------------

const char* SeverityWord(const SchemaFinding& finding) {
  return finding.severity == SchemaFinding::ERROR ? "error" : "warning";
}

std::string FindingJson(const SchemaFinding& finding) {
  return JsonObject({{"file", JsonString(finding.file)},
                     {"line", std::to_string(finding.line)},
                     {"column", std::to_string(finding.column)},
                     {"pointer", JsonString(finding.pointer)},
                     {"severity", JsonString(SeverityWord(finding))},
                     {"message", JsonString(finding.text)}});
}

std::string FindingLine(const SchemaFinding& finding) {
  const std::string place = ":" + std::to_string(finding.line) + ":" + std::to_string(finding.column);
  const std::string what = finding.pointer.empty() ? finding.text : finding.pointer + ": " + finding.text;
  return Printable(finding.file) + place + ": " + SeverityWord(finding) + ": " + Printable(what);
}

constexpr char kStandardInput[] = "-";

std::vector<SchemaFinding> FindMistakes(std::vector<std::string> files) {
  std::vector<SchemaFinding> findings;
  const auto input = std::find(files.begin(), files.end(), kStandardInput);
  if (input != files.end()) {
    const InputText text = ReadText(*input);
    findings = OrvoConfigStore::LintSchema(text.text);
    for (SchemaFinding& finding : findings) finding.file = text.name;
    files.erase(std::remove(files.begin(), files.end(), kStandardInput), files.end());
  }
  for (const std::string& file : files) ReadInput(file);  // an unreadable one is the caller's slip
  for (SchemaFinding& finding : OrvoConfigStore::LintSchemaFiles(files)) findings.push_back(std::move(finding));
  return findings;
}

Exit Lint(Session& session, const std::vector<std::string>& files) {
  const auto findings = FindMistakes(files);
  Exit exit = findings.empty() ? Exit::kDone : Exit::kNo;
  std::vector<std::string> elements;
  for (const SchemaFinding& finding : findings) {
    if (finding.severity == SchemaFinding::ERROR) exit = Exit::kInvalid;
    if (session.json) {
      elements.push_back(FindingJson(finding));
    } else {
      session.Print(FindingLine(finding));
    }
  }
  if (session.json) session.Print(JsonArray(elements));
  return exit;
}

Run SetUpLint(Arguments& arguments) {
  auto files = std::make_shared<std::vector<std::string>>();
  arguments.Option("FILE", *files, "Schema files that are to be registered together, \"-\" for standard input")
      .Required();
  return [files](Session& session) { return Lint(session, *files); };
}

// --- schema doc --------------------------------------------------------------

struct DocOptions {
  std::string type;
  std::string format = "md";
};

Exit Document(Session& session, const DocOptions& options) {
  session.where = options.type;
  const auto type = ParseTypeName(options.type);
  OpenStore();
  const PageFormat format = options.format == "man" ? PageFormat::MAN : PageFormat::MARKDOWN;
  const std::string page = OrvoConfigStore::TypeReference(type, format);
  session.PrintResult(page.substr(0, page.find_last_not_of('\n') + 1), JsonObject({{"page", JsonString(page)}}));
  return Exit::kDone;
}

Run SetUpDoc(Arguments& arguments) {
  auto options = std::make_shared<DocOptions>();
  arguments.Option("TYPE", options->type, kTypeHelp).Required();
  arguments.Option("--format", options->format, "How the page is written: md, or man for man(1); md without it")
      .OneOf({"md", "man"});
  return [options](Session& session) { return Document(session, *options); };
}

// --- schema export -----------------------------------------------------------

struct ExportOptions {
  std::string type;
  bool isStandard = false;
  bool ofInstance = false;
};

Exit Export(Session& session, const ExportOptions& options) {
  session.where = options.type;
  const auto type = ParseTypeName(options.type);
  OpenStore();
  session.PrintJson(
      OrvoConfigStore::ExportJsonSchema(type, options.ofInstance ? ExportedPart::OBJECT : ExportedPart::WHOLE));
  return Exit::kDone;
}

Run SetUpExport(Arguments& arguments) {
  auto options = std::make_shared<ExportOptions>();
  arguments.Option("TYPE", options->type, kTypeHelp).Required();
  arguments.Flag("--json-schema", options->isStandard, "As a JSON Schema of draft 7, for editors").Required();
  arguments.Flag("--instance", options->ofInstance, "Of one instance instead of the array of all");
  return [options](Session& session) { return Export(session, *options); };
}

}  // namespace

const std::vector<Command>& SchemaCommands() {
  static const std::vector<Command> commands = {
      {"schema lint", "Find mistakes in schema files; exit 1 for warnings alone, 3 for errors", SetUpLint},
      {"schema doc", "Print a reference page of a type", SetUpDoc},
      {"schema export", "Print the schema of a type in a standard form", SetUpExport},
  };
  return commands;
}

}  // namespace csctl
