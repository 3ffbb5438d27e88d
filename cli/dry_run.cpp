#include "dry_run.h"

#include <configstore/errors.h>
#include <configstore/rehearsal.h>

#include <algorithm>

#include "change_text.h"
#include "json_text.h"
#include "object_input.h"
#include "object_name.h"

namespace csctl {

using OrvoConfigStore::ConfigStoreObjectId;
using OrvoConfigStore::FieldChange;
using OrvoConfigStore::ObjectChange;
using OrvoConfigStore::StateChange;
using OrvoConfigStore::StoreChanges;
using OrvoConfigStore::StoredRow;
using OrvoConfigStore::ValueChange;

namespace {

using Value = std::optional<std::string>;

struct LayerText {
  const char* name;
  Value StoredRow::*text;
};

const LayerText kLayerTexts[] = {
    {"user", &StoredRow::userValue},     {"auto", &StoredRow::autoConfValue},   {"vital", &StoredRow::vitalValue},
    {"cached", &StoredRow::cachedValue}, {"desired", &StoredRow::desiredValue},
};

/// A field that changes, in the layer it is in.
struct Difference {
  std::string layer;
  FieldChange field;
};

std::string ShownValue(const Session& session, const FieldChange& field, const Value& value) {
  if (!value) return "-";
  if (field.secret) return JsonString(OrvoConfigStore::kSecretMask);
  const std::string json = ValueJson(value);
  return session.onTerminal ? ShieldJson(json) : json;
}

std::string JsonValueOf(const FieldChange& field, const Value& value) {
  if (!value) return "null";
  return field.secret ? JsonString(OrvoConfigStore::kSecretMask) : ValueJson(value);
}

void AddDifferences(const ConfigStoreObjectId& id, const char* layer, const Value& before, const Value& after,
                    std::vector<Difference>& differences) {
  if (before == after) return;
  for (FieldChange& field : CompareFields(id, before.value_or("{}"), after.value_or("{}"))) {
    differences.push_back({layer, std::move(field)});
  }
}

std::vector<Difference> DifferencesOf(const ObjectChange& change) {
  const StoredRow none;
  const StoredRow &before = change.before ? *change.before : none, &after = change.after ? *change.after : none;
  std::vector<Difference> differences;
  for (const LayerText& layer : kLayerTexts) {
    AddDifferences(change.id, layer.name, before.*layer.text, after.*layer.text, differences);
  }
  return differences;
}

const char* ChangeWord(bool wasThere, bool isThere) {
  if (!wasThere) return "created";
  return isThere ? "changed" : "deleted";
}

// --- JSON --------------------------------------------------------------------

std::string StringsJson(const std::vector<std::string>& texts) {
  std::vector<std::string> elements;
  for (const std::string& text : texts) elements.push_back(JsonString(text));
  return JsonArray(elements);
}

std::string DifferencesJson(const std::vector<Difference>& differences) {
  std::vector<std::string> elements;
  for (const Difference& each : differences) {
    elements.push_back(JsonObject({{"layer", JsonString(each.layer)},
                                   {"field", JsonString(each.field.path)},
                                   {"before", JsonValueOf(each.field, each.field.before)},
                                   {"after", JsonValueOf(each.field, each.field.after)}}));
  }
  return JsonArray(elements);
}

std::string ObjectJson(const ObjectChange& change) {
  return JsonObject({{"id", JsonString(ObjectName(change.id))},
                     {"change", JsonString(ChangeWord(change.before.has_value(), change.after.has_value()))},
                     {"layers", StringsJson(ChangedLayers(change.id, change.before, change.after))},
                     {"effects", StringsJson(SideEffects(change.before, change.after))},
                     {"fields", DifferencesJson(DifferencesOf(change))}});
}

std::string ValuesJson(const std::vector<ValueChange>& changes) {
  std::vector<std::string> elements;
  for (const ValueChange& change : changes) {
    std::vector<Difference> differences;
    AddDifferences(change.id, "", change.before, change.after, differences);
    elements.push_back(
        JsonObject({{"id", JsonString(ObjectName(change.id))},
                    {"change", JsonString(ChangeWord(change.before.has_value(), change.after.has_value()))},
                    {"fields", DifferencesJson(differences)}}));
  }
  return JsonArray(elements);
}

std::string ChangesJson(const StoreChanges& changes) {
  std::vector<std::string> objects, state;
  for (const ObjectChange& change : changes.objects) objects.push_back(ObjectJson(change));
  for (const StateChange& change : changes.state) {
    state.push_back(JsonObject(
        {{"key", JsonString(change.key)}, {"before", JsonString(change.before)}, {"after", JsonString(change.after)}}));
  }
  return JsonObject({{"dryRun", "true"},
                     {"objects", JsonArray(objects)},
                     {"staged", ValuesJson(changes.staged)},
                     {"defaults", ValuesJson(changes.defaults)},
                     {"state", JsonArray(state)}});
}

// --- text --------------------------------------------------------------------

void PrintDifferences(const Session& session, const std::vector<Difference>& differences) {
  for (const Difference& each : differences) {
    const std::string path = each.field.path.empty() ? "(as a whole)" : FieldName(each.field.path);
    session.Print("    " + each.layer + (each.layer.empty() ? "" : " ") + path + ": " +
                  ShownValue(session, each.field, each.field.before) + " -> " +
                  ShownValue(session, each.field, each.field.after));
  }
}

void PrintObject(const Session& session, const ObjectChange& change) {
  const std::vector<std::string> layers = ChangedLayers(change.id, change.before, change.after);
  std::string line =
      ObjectName(change.id) + ": would be " + ChangeWord(change.before.has_value(), change.after.has_value());
  if (!layers.empty())
    line += std::string(change.after ? " in" : " with") + " its " + Enumerate(layers) +
            (layers.size() > 1 ? " layers" : " layer");
  session.Print(line);
  for (const std::string& effect : SideEffects(change.before, change.after)) session.Print("    " + effect);
  if (change.after) PrintDifferences(session, DifferencesOf(change));
}

void PrintValues(const Session& session, const char* what, const std::vector<ValueChange>& changes) {
  for (const ValueChange& change : changes) {
    session.Print(std::string(what) + " of " + ObjectName(change.id) + ": would be " +
                  ChangeWord(change.before.has_value(), change.after.has_value()));
    std::vector<Difference> differences;
    if (change.after) AddDifferences(change.id, "", change.before, change.after, differences);
    PrintDifferences(session, differences);
  }
}

/// Whether the rows differ in more than the order of members.
bool IsChange(const ObjectChange& change) {
  if (!change.before || !change.after || change.before->version != change.after->version) return true;
  return change.before->confirmed != change.after->confirmed || !DifferencesOf(change).empty();
}

void PrintChanges(const Session& session, StoreChanges changes) {
  changes.objects.erase(std::remove_if(changes.objects.begin(), changes.objects.end(),
                                       [](const ObjectChange& change) { return !IsChange(change); }),
                        changes.objects.end());
  if (session.json) return session.PrintJson(ChangesJson(changes));
  session.Print(changes.IsEmpty() ? "dry run: nothing would change" : "dry run: nothing was changed");
  for (const ObjectChange& change : changes.objects) PrintObject(session, change);
  PrintValues(session, "staged value", changes.staged);
  PrintValues(session, "default object", changes.defaults);
  for (const StateChange& change : changes.state) {
    session.Print(Printable(change.key) + ": \"" + Printable(change.before) + "\" -> \"" + Printable(change.after) +
                  "\"");
  }
}

/// Runs the command without a word; what it works on is known to an error report.
Exit RunSilently(const Run& run, Session& session) {
  Session silent = session;
  silent.quiet = true;
  try {
    const Exit exit = run(silent);
    session.where = silent.where;
    return exit;
  } catch (...) {
    session.where = silent.where;
    throw;
  }
}

}  // namespace

Run Rehearsed(const Run& run) {
  return [run](Session& session) {
    OpenStore();
    const OrvoConfigStore::Rehearsal rehearsal;
    const Exit exit = RunSilently(run, session);
    PrintChanges(session, rehearsal.Compare());
    return exit;
  };
}

}  // namespace csctl
