#include <configstore/diff.h>
#include <configstore/host.h>

#include <fstream>

#include "command.h"
#include "failure.h"
#include "json_text.h"
#include "object_input.h"
#include "object_name.h"

namespace csctl {

using OrvoConfigStore::DiffResult;
using OrvoConfigStore::DiffSide;
using OrvoConfigStore::FieldChange;
using OrvoConfigStore::ObjectDifference;

namespace {

struct SideWord {
  const char* word;
  DiffSide::Kind kind;
};

const SideWord kSideWords[] = {
    {"store", DiffSide::STORE},   {"user", DiffSide::USER},         {"auto", DiffSide::AUTO},
    {"vital", DiffSide::VITAL},   {"cached", DiffSide::CACHED},     {"desired", DiffSide::DESIRED},
    {"staged", DiffSide::STAGED}, {"defaults", DiffSide::DEFAULTS},
};

struct DiffOptions : ShowOptions {
  std::string sides[2];
  bool asPatch = false;
};

bool IsDatabase(const std::string& start) {
  return start.compare(0, 15, "SQLite format 3") == 0;
}

/// A word, or a file: a backup as the host sees it, else a document.
DiffSide ParseSide(const std::string& text) {
  for (const SideWord& known : kSideWords) {
    if (text == known.word) return {known.kind, ""};
  }
  std::string start(16, '\0');
  std::ifstream(OrvoConfigStore::ResolveHostPath(text), std::ios::binary).read(start.data(), 16);
  if (text != "-" && IsDatabase(start)) return {DiffSide::BACKUP, text};
  std::string document = ReadInput(text);
  if (!IsDatabase(document)) return {DiffSide::DOCUMENT, std::move(document)};
  throw CommandFailed({Exit::kUsage, "this is a backup outside the host", text, "name a backup as the host sees it"});
}

std::string Shown(const FieldChange& field, const std::optional<std::string>& value, const DiffOptions& options) {
  if (!value) return "null";
  return field.secret && !options.showSecrets ? JsonString(OrvoConfigStore::kSecretMask) : *value;
}

const char* StateWord(const ObjectDifference& object) {
  if (!object.before) return "added";
  return object.after ? "changed" : "removed";
}

std::string ObjectJson(const ObjectDifference& object, const DiffOptions& options) {
  std::vector<std::string> fields;
  for (const FieldChange& field : object.fields) {
    fields.push_back(JsonObject({{"field", JsonString(field.path)},
                                 {"before", Shown(field, field.before, options)},
                                 {"after", Shown(field, field.after, options)}}));
  }
  const auto whole = [&](const std::optional<std::string>& text) {
    return text ? options.Mask(object.id, *text) : std::string("null");
  };
  const bool isChanged = object.before && object.after;
  return JsonObject({{"id", JsonString(ObjectName(object.id))},
                     {"change", JsonString(StateWord(object))},
                     {"before", isChanged ? "null" : whole(object.before)},
                     {"after", isChanged ? "null" : whole(object.after)},
                     {"fields", JsonArray(fields)}});
}

std::string ResultJson(const DiffResult& result, const DiffOptions& options) {
  std::vector<std::string> objects, leftOut;
  for (const ObjectDifference& object : result.objects) objects.push_back(ObjectJson(object, options));
  for (const auto& each : result.leftOut) {
    leftOut.push_back(JsonObject({{"type", JsonString(ObjectName(each.type))},
                                  {"reason", JsonString(each.reason)},
                                  {"objects", std::to_string(each.objects)}}));
  }
  return JsonObject({{"differences", JsonArray(objects)}, {"leftOut", JsonArray(leftOut)}});
}

void PrintObject(const Session& session, const ObjectDifference& object, const DiffOptions& options) {
  const auto shown = [&](const FieldChange& field, const std::optional<std::string>& value) {
    if (!value) return std::string("-");
    const std::string json = Shown(field, value, options);
    return session.onTerminal ? ShieldJson(json) : json;
  };
  session.Print(ObjectName(object.id) + ": " + StateWord(object));
  for (const FieldChange& field : object.fields) {
    session.Print("    " + FieldName(field.path) + ": " + shown(field, field.before) + " -> " +
                  shown(field, field.after));
  }
}

Exit DiffSides(Session& session, const DiffOptions& options) {
  if (options.sides[0] == "-" && options.sides[1] == "-") {
    throw CommandFailed({Exit::kUsage, "both sides are standard input", "", "name a file for one of them"});
  }
  OpenStore();
  session.where = options.sides[0] + " and " + options.sides[1];
  const DiffSide from = ParseSide(options.sides[0]), to = ParseSide(options.sides[1]);
  if (options.asPatch) {
    const std::string patch = DiffPatch(from, to, options.showSecrets);
    session.PrintJson(patch);
    return patch == "[]" ? Exit::kDone : Exit::kNo;
  }
  const DiffResult result = Diff(from, to);
  if (session.json) {
    session.PrintJson(ResultJson(result, options));
  } else {
    for (const ObjectDifference& object : result.objects) PrintObject(session, object, options);
    for (const auto& each : result.leftOut) {
      session.Print("not compared: " + std::to_string(each.objects) + " objects of " + ObjectName(each.type) + ": " +
                    each.reason);
    }
  }
  return result.objects.empty() ? Exit::kDone : Exit::kNo;
}

Run SetUpDiff(Arguments& arguments) {
  auto options = std::make_shared<DiffOptions>();
  arguments
      .Option("A", options->sides[0],
              "store (what is in force), user, auto, vital, cached or desired (that layer), staged, defaults, or a "
              "file: a document, - for standard input, or a backup, as the host sees it")
      .Required();
  arguments.Option("B", options->sides[1], "The other side, likewise").Required();
  arguments.Flag("--patch", options->asPatch, "Print a JSON Patch (RFC 6902) that makes the document B of A");
  AddShowSecrets(arguments, *options);
  return [options](Session& session) { return DiffSides(session, *options); };
}

}  // namespace

const std::vector<Command>& DiffCommands() {
  static const std::vector<Command> commands = {
      {"diff", "Compare the store, a layer, a document or a backup with another; exit 1 when they differ", SetUpDiff},
  };
  return commands;
}

}  // namespace csctl
