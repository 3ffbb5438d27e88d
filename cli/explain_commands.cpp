#include <configstore/inspect.h>

#include "command.h"
#include "failure.h"
#include "json_text.h"
#include "object_input.h"
#include "object_name.h"

namespace csctl {

using OrvoConfigStore::FieldOrigin;
using OrvoConfigStore::LayerValue;
using OrvoConfigStore::ObjectExplanation;

namespace {

using Value = std::optional<std::string>;

/// The values of a field that are not in force, and what each of them is.
struct Aside {
  const char* name;  ///< in JSON
  const char* word;  ///< in text
  Value FieldOrigin::*value;
};

const Aside kAsides[] = {
    {"unconfirmed", "user, not in force until it is confirmed", &FieldOrigin::unconfirmed},
    {"desired", "desired, tried again by the next load", &FieldOrigin::desired},
    {"staged", "staged", &FieldOrigin::staged},
    {"schemaDefault", "default of the type", &FieldOrigin::schemaDefault},
    {"packageDefault", "default of the package", &FieldOrigin::packageDefault},
};

/// Replaces the values of secrets by the mask.
void Mask(FieldOrigin& field) {
  const auto mask = [](Value& value) {
    if (value) value = JsonString(OrvoConfigStore::kSecretMask);
  };
  mask(field.effective);
  for (const Aside& aside : kAsides) mask(field.*aside.value);
  for (LayerValue& hidden : field.shadowed) hidden.value = JsonString(OrvoConfigStore::kSecretMask);
}

// --- JSON --------------------------------------------------------------------

std::string FieldJson(const FieldOrigin& field) {
  std::vector<std::string> shadowed;
  for (const LayerValue& hidden : field.shadowed) {
    shadowed.push_back(JsonObject({{"layer", JsonString(hidden.layer)}, {"value", hidden.value}}));
  }
  std::vector<std::pair<std::string, std::string>> members = {
      {"field", JsonString(field.path)},
      {"value", field.effective.value_or("null")},
      {"layer", field.effective ? JsonString(field.layer) : "null"},
      {"shadowed", JsonArray(shadowed)},
  };
  for (const Aside& aside : kAsides) {
    if (field.*aside.value) members.emplace_back(aside.name, *(field.*aside.value));
  }
  return JsonObject(members);
}

std::string ExplanationJson(const std::string& name, const ObjectExplanation& object) {
  std::vector<std::string> fields, damaged;
  for (const FieldOrigin& field : object.fields) fields.push_back(FieldJson(field));
  for (const auto& value : object.damaged) {
    damaged.push_back(JsonObject({{"layer", JsonString(value.layer)}, {"reason", JsonString(value.reason)}}));
  }
  return JsonObject({{"id", JsonString(name)},
                     {"stored", JsonBool(object.stored)},
                     {"confirmed", JsonBool(object.confirmed)},
                     {"staged", JsonBool(object.staged)},
                     {"appliesStaged", JsonBool(object.appliesStaged)},
                     {"version", JsonString(object.version)},
                     {"schemaVersion", JsonString(object.schemaVersion)},
                     {"readFailure", object.readFailure.empty() ? "null" : JsonString(object.readFailure)},
                     {"damaged", JsonArray(damaged)},
                     {"fields", JsonArray(fields)}});
}

// --- text --------------------------------------------------------------------

const char* StagedLine(const ObjectExplanation& object) {
  if (!object.appliesStaged) return object.staged ? "a value is staged; the next load leaves it alone" : nullptr;
  return object.staged ? "the next load puts the staged value in place of the user layer"
                       : "the next load clears the user layer: it applies what is staged, and this object is not";
}

std::vector<std::string> StateLines(const ObjectExplanation& object) {
  std::vector<std::string> lines;
  if (!object.stored) lines.emplace_back("not stored");
  if (!object.confirmed) {
    lines.emplace_back("not confirmed: the user layer is not in force; \"csctl confirm ID\" puts it in force");
  }
  if (object.stored && object.version != object.schemaVersion) {
    lines.push_back("written with version " + Printable(object.version) + " of the type, which is by now " +
                    Printable(object.schemaVersion));
  }
  if (const char* staged = StagedLine(object)) lines.emplace_back(staged);
  if (!object.readFailure.empty()) {
    lines.push_back("CANNOT BE READ: " + Printable(object.readFailure) +
                    "; the fields below are those that can be made out");
  }
  for (const auto& value : object.damaged) {
    lines.push_back("damaged: " + value.layer + ": " + Printable(value.reason) +
                    "; \"csctl layers ID\" shows it as it is");
  }
  return lines;
}

void PrintField(const Session& session, const FieldOrigin& field) {
  const auto shown = [&](const std::string& json) { return session.onTerminal ? ShieldJson(json) : json; };
  const std::string value = field.effective ? shown(*field.effective) + "  (" + field.layer + ")" : "-";
  session.Print(FieldName(field.path) + ": " + value);
  for (const LayerValue& hidden : field.shadowed) {
    session.Print("    hidden: " + shown(hidden.value) + "  (" + hidden.layer + ")");
  }
  for (const Aside& aside : kAsides) {
    if (field.*aside.value) session.Print("    " + std::string(aside.word) + ": " + shown(*(field.*aside.value)));
  }
}

Exit ExplainObject(Session& session, ShowOptions options) {
  session.where = options.id;
  const std::string wanted = TakeField(options.id);
  const auto id = session.TakeObject(options.id);
  OpenStore();
  ObjectExplanation object = OrvoConfigStore::ExplainObject(id);
  if (!object.stored && !object.staged && !object.hasPackageDefault) {
    FailNotFound("there is no such object", "\"csctl set ID\" stores one; \"csctl ls\" lists what is stored");
  }
  std::vector<FieldOrigin> fields;
  for (FieldOrigin& field : object.fields) {
    if (!IsWithin(field.path, wanted)) continue;
    if (field.secret && !options.showSecrets) Mask(field);
    fields.push_back(std::move(field));
  }
  if (fields.empty() && !wanted.empty()) {
    FailNotFound("the object has no such field", "\"csctl describe TYPE\" lists the fields of its type");
  }
  object.fields = std::move(fields);
  if (session.json) {
    session.PrintJson(ExplanationJson(session.where, object));
    return Exit::kDone;
  }
  session.Print(session.where);
  for (const std::string& line : StateLines(object)) session.Print("  " + line);
  for (const FieldOrigin& field : object.fields) PrintField(session, field);
  return Exit::kDone;
}

Run SetUpExplain(Arguments& arguments) {
  auto options = std::make_shared<ShowOptions>();
  arguments
      .Option("ID", options->id, "The object, or with ID#/FIELD what is in one field of it: netd/ip/stack#/link/eth0")
      .Required();
  AddShowSecrets(arguments, *options);
  return [options](Session& session) { return ExplainObject(session, *options); };
}

}  // namespace

const std::vector<Command>& ExplainCommands() {
  static const std::vector<Command> commands = {
      {"explain", "Tell for each field where its value comes from, what it hides and what is pending", SetUpExplain},
  };
  return commands;
}

}  // namespace csctl
