#include <configstore/documents.h>
#include <configstore/inspect.h>
#include <unistd.h>

#include <algorithm>
#include <iostream>
#include <map>

#include "command.h"
#include "diagnosis.h"
#include "failure.h"
#include "json_text.h"
#include "known_type.h"
#include "object_input.h"
#include "object_name.h"
#include "output_file.h"
#include "progress.h"

namespace csctl {

using OrvoConfigStore::ConfigStoreObjectId;
using OrvoConfigStore::DocumentSink;
using OrvoConfigStore::EXPORT_LAYER;
using OrvoConfigStore::EXPORT_SECRETS;
using OrvoConfigStore::ExportSummary;
using OrvoConfigStore::LeftOut;
using OrvoConfigStore::USERDATA_CONTEXT;

namespace {

// --- export ------------------------------------------------------------------

const std::map<std::string, EXPORT_LAYER> kLayers = {
    {"effective", OrvoConfigStore::EXPORT_EFFECTIVE}, {"auto", OrvoConfigStore::EXPORT_AUTO},
    {"user", OrvoConfigStore::EXPORT_USER},           {"vital", OrvoConfigStore::EXPORT_VITAL},
    {"cached", OrvoConfigStore::EXPORT_CACHED},       {"desired", OrvoConfigStore::EXPORT_DESIRED},
};

const std::map<std::string, EXPORT_SECRETS> kSecrets = {
    {"mask", OrvoConfigStore::SECRETS_MASKED},
    {"omit", OrvoConfigStore::SECRETS_OMITTED},
    {"include", OrvoConfigStore::SECRETS_INCLUDED},
};

struct ExportCommand {
  std::string prefix;
  std::string layer = "effective";
  std::string secrets = "mask";
  bool showSecrets = false;
  bool compact = false;
  std::string file;

  OrvoConfigStore::ExportOptions Options(const Session& session) const {
    OrvoConfigStore::ExportOptions options;
    const NamePrefix names = prefix.empty() ? NamePrefix() : ParseNamePrefix(prefix);
    options.component = names.component;
    options.group = names.group;
    options.key = names.key;
    options.layer = kLayers.at(layer);
    options.secrets = showSecrets ? OrvoConfigStore::SECRETS_INCLUDED : kSecrets.at(secrets);
    const bool isOneLine = compact || (file.empty() && session.json);
    options.layout = isOneLine ? OrvoConfigStore::LAYOUT_COMPACT : OrvoConfigStore::LAYOUT_INDENTED;
    return options;
  }
};

std::string LeftOutJson(const LeftOut& leftOut) {
  return JsonObject({{"type", JsonString(ObjectName(leftOut.type))},
                     {"reason", JsonString(leftOut.reason)},
                     {"objects", std::to_string(leftOut.objects)}});
}

/// Nothing is left out in silence: the warning comes with -q, too.
void WarnOfLeftOut(const ExportSummary& summary) {
  for (const LeftOut& leftOut : summary.leftOut) {
    std::cerr << "csctl: warning: " << ObjectName(leftOut.type) << ": " << leftOut.objects
              << " objects are not in the document: " << leftOut.reason << "\n";
  }
}

ExportSummary ExportTo(const Session& session, const ExportCommand& command, const DocumentSink& sink) {
  Progress progress(session, "exporting");
  OrvoConfigStore::ExportOptions options = command.Options(session);
  options.progress = [&progress](size_t done, size_t all) { progress.Show(done, all); };
  return OrvoConfigStore::Export(options, sink);
}

ExportSummary ExportToOutput(const Session& session, const ExportCommand& command) {
  if (!session.onTerminal) {
    const ExportSummary summary = ExportTo(session, command, [&session](std::string_view part) {
      if (!session.quiet) std::cout << part;
    });
    session.Print("");
    return summary;
  }
  std::string text;
  const ExportSummary summary = ExportTo(session, command, [&text](std::string_view part) { text += part; });
  session.Print(ShieldJson(text));
  return summary;
}

ExportSummary ExportToFile(const Session& session, const ExportCommand& command) {
  OutputFile file(command.file, command.Options(session).secrets == OrvoConfigStore::SECRETS_INCLUDED);
  const ExportSummary summary = ExportTo(session, command, [&file](std::string_view part) { file.Write(part); });
  file.Write("\n");
  file.Finish();
  std::vector<std::string> leftOut;
  for (const LeftOut& part : summary.leftOut) leftOut.push_back(LeftOutJson(part));
  const std::string count = std::to_string(summary.objects);
  session.PrintResult(
      "exported " + count + " objects to " + Printable(command.file),
      JsonObject({{"exported", count}, {"file", JsonString(command.file)}, {"leftOut", JsonArray(leftOut)}}));
  return summary;
}

/// Refuses what names nothing: a document without objects would look like an answer.
void RequireKnown(const std::string& prefixText) {
  if (prefixText.empty()) return;
  const NamePrefix prefix = ParseNamePrefix(prefixText);
  if (IsRegistered(prefix)) return;
  const auto stored = OrvoConfigStore::ListStoredObjects(prefix.component, prefix.group, prefix.key);
  if (stored.empty()) FailUnregistered(prefix);
}

Exit ExportDocument(Session& session, const ExportCommand& command) {
  session.where = command.prefix;
  OpenStore();
  RequireKnown(command.prefix);
  WarnOfLeftOut(command.file.empty() ? ExportToOutput(session, command) : ExportToFile(session, command));
  return Exit::kDone;
}

template <class Value>
std::vector<std::string> WordsOf(const std::map<std::string, Value>& words) {
  std::vector<std::string> names;
  for (const auto& word : words) names.push_back(word.first);
  return names;
}

Run SetUpExport(Arguments& arguments) {
  auto command = std::make_shared<ExportCommand>();
  arguments.Option("PREFIX", command->prefix, "COMPONENT[/GROUP[/KEY]]; everything without it");
  arguments.Option("-o,--output", command->file,
                   "Write this file, in one step once it is complete; one with secrets in it is its owner's alone");
  arguments.Option("--layer", command->layer, "What is shown of the objects: what is in force, or one layer as stored")
      .OneOf(WordsOf(kLayers))
      .ShowsDefault();
  const Argument secrets = arguments.Option("--secrets", command->secrets, "What becomes of secrets")
                               .OneOf(WordsOf(kSecrets))
                               .ShowsDefault();
  arguments.Flag("--show-secrets", command->showSecrets, "The same as --secrets include").Excludes(secrets);
  arguments.Flag("--compact", command->compact, "Write the document on one line");
  return [command](Session& session) { return ExportDocument(session, *command); };
}

// --- import, apply -----------------------------------------------------------

struct ImportCommand {
  std::string file;
  std::string as = "user";
  bool replace = true;
};

Exit ImportDocument(Session& session, const ImportCommand& command) {
  const InputText input = ReadText(command.file);
  session.where = input.name;
  OpenStore();
  OrvoConfigStore::ImportOptions options;
  options.context.kind = command.as == "auto" ? USERDATA_CONTEXT::AUTOCONFIGURATION : USERDATA_CONTEXT::EXTERNAL;
  options.mode = command.replace ? OrvoConfigStore::IMPORT_REPLACE : OrvoConfigStore::IMPORT_MERGE;
  const auto use = command.replace ? OrvoConfigStore::DIAGNOSE_IMPORT : OrvoConfigStore::DIAGNOSE_MERGE;
  const auto diagnose = [&] { return OrvoConfigStore::DiagnoseDocument(input.text, use); };
  const auto summary = WriteDiagnosed(input, diagnose, [&] {
    Progress progress(session, "writing");
    options.progress = [&progress](size_t done, size_t all) { progress.Show(done, all); };
    return OrvoConfigStore::Import(input.text, options);
  });
  const std::string objects = std::to_string(summary.objects), types = std::to_string(summary.types);
  const char* const done = command.replace ? "imported" : "applied";
  session.PrintResult(std::string(done) + " " + objects + " objects of " + types + " types",
                      JsonObject({{done, objects}, {"types", types}}));
  return Exit::kDone;
}

void AddAs(Arguments& arguments, ImportCommand& command) {
  arguments.Option("--as", command.as, "Who writes: user, or auto for the host's own automatic configuration")
      .OneOf({"user", "auto"});
}

Run SetUpImport(Arguments& arguments) {
  auto command = std::make_shared<ImportCommand>();
  arguments
      .Option("FILE", command->file,
              "The document: its single objects are set, its arrays replace the instances of their types, all or "
              "nothing; \"-\" for standard input")
      .Required();
  AddAs(arguments, *command);
  return [command](Session& session) { return ImportDocument(session, *command); };
}

Run SetUpApply(Arguments& arguments) {
  auto command = std::make_shared<ImportCommand>();
  command->replace = false;
  arguments
      .Option("-f,--file", command->file,
              "The document: each of its objects is merged into the stored one of its name, all or nothing; \"-\" "
              "for standard input")
      .Required();
  arguments.Flag("--replace", command->replace,
                 "Do as import does: objects are set, and arrays replace the instances of their types");
  AddAs(arguments, *command);
  return [command](Session& session) { return ImportDocument(session, *command); };
}

// --- validate ----------------------------------------------------------------

struct ValidateCommand {
  std::string target;
  std::string type;
  bool gcc = false;
};

bool IsFile(const std::string& target) {
  return target == "-" || access(target.c_str(), F_OK) == 0;
}

std::vector<Diagnostic> DiagnoseFile(const ValidateCommand& command, const InputText& input) {
  if (command.type.empty()) return OrvoConfigStore::DiagnoseDocument(input.text);
  return OrvoConfigStore::DiagnoseObject(ParseTypeName(command.type), input.text);
}

/// The text of a stored object is nobody's, so that no position in it is told.
std::vector<Diagnostic> DiagnoseStored(Session& session, const std::string& target) {
  const ConfigStoreObjectId id = session.TakeObject(target);
  const auto object = OpenStore()->Get(id);
  if (object == nullptr) FailNotFound("there is no such file or object", "name a file, or an object that is stored");
  std::string text;
  OrvoConfigStore::SerializeValue(*object->GetJsonDocPtr()->GetJsonValuePtr(), text);
  std::vector<Diagnostic> found = OrvoConfigStore::DiagnoseObject(id, text);
  for (Diagnostic& diagnostic : found) diagnostic.line = diagnostic.column = 0;
  return found;
}

bool HasErrors(const std::vector<Diagnostic>& found) {
  return std::any_of(found.begin(), found.end(), [](const Diagnostic& diagnostic) { return !diagnostic.isWarning; });
}

Exit ReportAsCompiler(const Session& session, const std::vector<Diagnostic>& found) {
  for (const Diagnostic& diagnostic : found) std::cerr << CompilerLine(session.where, diagnostic) << "\n";
  return HasErrors(found) ? Exit::kInvalid : Exit::kDone;
}

Exit ReportValid(const Session& session, const std::vector<Diagnostic>& warnings) {
  std::string lines = "valid";
  std::vector<std::string> elements;
  for (const Diagnostic& warning : warnings) {
    lines += "\n  " + DiagnosticLine(warning);
    elements.push_back(DiagnosticJson(warning));
  }
  session.PrintResult(lines, JsonObject({{"valid", "true"}, {"diagnostics", JsonArray(elements)}}));
  return Exit::kDone;
}

Exit Validate(Session& session, const ValidateCommand& command) {
  session.where = command.target;
  std::vector<Diagnostic> found;
  if (IsFile(command.target)) {
    const InputText input = ReadText(command.target);
    session.where = input.name;
    OpenStore();
    found = DiagnoseFile(command, input);
  } else {
    found = DiagnoseStored(session, command.target);
  }
  if (command.gcc) return ReportAsCompiler(session, found);
  if (!HasErrors(found)) return ReportValid(session, found);
  Failure failure{Exit::kInvalid, "this is not valid", "", "correct what is listed"};
  if (command.type.empty() && session.where == command.target) failure.next += "; --type names the type of an object";
  failure.diagnostics = found;
  throw CommandFailed(failure);
}

Run SetUpValidate(Arguments& arguments) {
  auto command = std::make_shared<ValidateCommand>();
  arguments.Option("FILE|ID", command->target, "A document, \"-\" for standard input, or a stored object").Required();
  arguments.Option("--type", command->type, "The file holds an object of this type, or an array of its instances");
  arguments.Flag("--gcc", command->gcc, "Print \"FILE:LINE:COLUMN: error: TEXT\", as editors read it");
  return [command](Session& session) { return Validate(session, *command); };
}

}  // namespace

const std::vector<Command>& DocumentCommands() {
  static const std::vector<Command> commands = {
      {"export", "Write the stored objects as a document", SetUpExport},
      {"import", "Store the objects of a document in place of those of their types", SetUpImport, true},
      {"apply", "Merge the objects of a document into the stored ones", SetUpApply, true},
      {"validate", "Tell all that is wrong with a document or an object; exit 3 when anything is", SetUpValidate},
  };
  return commands;
}

}  // namespace csctl
