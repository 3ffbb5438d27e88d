#include <configstore/check.h>
#include <configstore/errors.h>
#include <configstore/lifecycle.h>

#include <algorithm>
#include <filesystem>

#include "command.h"
#include "failure.h"
#include "json_text.h"
#include "object_name.h"

namespace csctl {

using OrvoConfigStore::BootChange;
using OrvoConfigStore::StoreFinding;

namespace {

/// One line of the report.
struct ReportLine {
  std::string kind;
  std::string where;
  std::string what;
};

// Indexed by StoreFinding::Kind.
const char* const kKindWords[] = {"damaged",      "tables",     "side-file", "schema",
                                  "unregistered", "unreadable", "invalid",   "unconfirmed"};

ReportLine LineOf(const StoreFinding& finding) {
  const bool isObject = !finding.id.component.empty();
  const std::string where = isObject ? ObjectName(finding.id) : Printable(finding.where);
  std::string what = Printable(finding.what);
  if (!finding.field.empty()) what = (isObject ? FieldName(finding.field) : finding.field) + ": " + what;
  if (isObject && finding.where != "effective" && finding.where != "row") what = finding.where + ": " + what;
  return {kKindWords[finding.kind], where, what};
}

/// What the next load would take away, beside the automatic values, which come anew.
void AddRisks(std::vector<ReportLine>& lines) {
  for (const BootChange& change : OrvoConfigStore::PreviewBootLosses()) {
    const auto add = [&](const char* what) { lines.push_back({"at-risk", ObjectName(change.id), what}); };
    if (change.desiredLost) add("the next load deletes the object with its desired value");
    if (change.userBefore && !change.userAfter) add("the next load clears its user value");
    if (change.userBefore && change.userAfter && change.userBefore != change.userAfter) {
      add("the next load puts another value in place of its user value");
    }
  }
}

std::vector<std::string> SchemaFiles(const std::string& directory) {
  std::vector<std::string> files;
  if (directory.empty()) return files;
  namespace fs = std::filesystem;
  std::error_code error;
  for (fs::recursive_directory_iterator entry(directory, error), end; entry != end; entry.increment(error)) {
    const fs::path& path = entry->path();
    const bool isDefault = path.parent_path().filename() == "defaults";  // of a package's folder
    if (path.extension() == ".json" && !isDefault) files.push_back(path.string());
    if (error) break;
  }
  if (error || files.empty()) {
    throw CommandFailed({Exit::kUsage, error ? error.message() : "there is no schema file in it", directory,
                         "name a directory with schema files, *.json"});
  }
  std::sort(files.begin(), files.end());
  return files;
}

std::string ReportJson(const std::vector<ReportLine>& lines) {
  std::vector<std::string> elements;
  for (const ReportLine& line : lines) {
    elements.push_back(JsonObject(
        {{"kind", JsonString(line.kind)}, {"where", JsonString(line.where)}, {"what", JsonString(line.what)}}));
  }
  return JsonObject({{"findings", JsonArray(elements)}});
}

Exit Check(Session& session, const std::string& schemas) {
  const OrvoConfigStore::CheckOptions options{SchemaFiles(schemas)};
  std::vector<ReportLine> lines;
  bool isDamaged = false;
  // First, since every opening of the store settles what an interrupted run left.
  for (const StoreFinding& finding : CheckStore(options)) {
    lines.push_back(LineOf(finding));
    isDamaged = isDamaged || finding.kind == StoreFinding::DAMAGED;
  }
  if (!isDamaged) AddRisks(lines);
  if (session.json) {
    session.PrintJson(ReportJson(lines));
  } else {
    for (const ReportLine& line : lines) session.Print(line.kind + ": " + line.where + ": " + line.what);
    if (lines.empty()) session.Print("nothing is wrong");
  }
  if (isDamaged) return Exit::kStorage;
  return lines.empty() ? Exit::kDone : Exit::kNo;
}

Run SetUpCheck(Arguments& arguments) {
  auto schemas = std::make_shared<std::string>();
  arguments
      .Option("--schemas", *schemas,
              "Check against the schema files below this directory too, as if their types were registered")
      .Shows("DIR");
  return [schemas](Session& session) { return Check(session, *schemas); };
}

}  // namespace

const std::vector<Command>& CheckCommands() {
  static const std::vector<Command> commands = {
      {"check", "Look for what is wrong with the store, or will be; exit 1 when anything is", SetUpCheck},
  };
  return commands;
}

}  // namespace csctl
