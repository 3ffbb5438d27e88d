#include <algorithm>
#include <map>
#include <set>
#include <tuple>

#include "configstore/diagnostics.h"
#include "configstore/schema_tools.h"
#include "documents/schema_linter.h"
#include "documents/text_places.h"
#include "platform/json_reader.h"
#include "platform/json_values.h"
#include "platform/schema_check.h"

namespace OrvoConfigStore {
namespace {

using OrvoSchemaStore::SchemaRecord;

// --- where findings are in the text ------------------------------------------

void Place(std::vector<SchemaFinding>& findings, const std::string& text, const JsonValue& file) {
  std::map<std::string, TextPosition> positions;
  PositionCounter counter(text);
  VisitPlaces(text, file, [&](const JsonValue&, const std::vector<PlaceStep>& steps, size_t offset) {
    positions.emplace(PointerOf(steps), counter.At(offset));
  });
  for (SchemaFinding& finding : findings) {
    std::string pointer = finding.pointer;
    while (!pointer.empty() && positions.count(pointer) == 0) pointer.resize(pointer.rfind('/'));
    finding.line = positions[pointer].line;
    finding.column = positions[pointer].column;
  }
  std::stable_sort(findings.begin(), findings.end(), [](const SchemaFinding& a, const SchemaFinding& b) {
    return std::tie(a.line, a.column) < std::tie(b.line, b.column);
  });
}

std::vector<SchemaFinding> Lint(const std::string& text, SchemaRecord& record) {
  std::vector<SchemaFinding> findings;
  for (const OrvoSchemaStore::SchemaFault& fault : OrvoSchemaStore::CheckSchemaText(text, record)) {
    findings.push_back({SchemaFinding::ERROR, "", fault.path, fault.text});
  }
  JsonStorage file(text.size());
  if (!ReadJson(text, file.document, nullptr)) {
    const std::optional<Diagnostic> place = FindSyntaxError(text);
    if (place) std::tie(findings.front().line, findings.front().column) = std::tie(place->line, place->column);
    return findings;
  }
  if (file.document.IsObject()) LintSchemaFile(file.document, findings.empty(), findings);
  Place(findings, text, file.document);
  return findings;
}

}  // namespace

std::vector<SchemaFinding> LintSchema(const std::string& text) {
  SchemaRecord record;
  return Lint(text, record);
}

std::vector<SchemaFinding> LintSchemaFiles(const std::vector<std::string>& paths) {
  std::vector<SchemaFinding> findings;
  std::set<std::tuple<std::string, std::string, std::string>> types;
  for (const std::string& path : paths) {
    SchemaRecord record;
    std::string text;
    std::vector<SchemaFinding> found;
    if (OrvoSchemaStore::ReadSchemaText(path, text)) {
      found = Lint(text, record);
    } else {
      found.push_back({SchemaFinding::ERROR, "", "", "The file cannot be read.", 0, 0});
    }
    if (!record.key.empty() && !types.insert({record.component, record.group, record.key}).second) {
      found.push_back({SchemaFinding::ERROR, "", "", "Another of these files describes the same type."});
    }
    for (SchemaFinding& finding : found) {
      finding.file = path;
      findings.push_back(std::move(finding));
    }
  }
  return findings;
}

}  // namespace OrvoConfigStore
