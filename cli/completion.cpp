#include "completion.h"

#include <configstore/config_store.h>
#include <configstore/host.h>
#include <configstore/inspect.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <filesystem>
#include <set>

#include "object_name.h"

namespace csctl {

using OrvoConfigStore::FieldDescription;
using OrvoConfigStore::SchemaInfo;
using OrvoConfigStore::StoredName;

namespace {

using Candidates = std::set<std::string>;

/// Above this, the instances of a type are offered as "TYPE@" alone.
constexpr size_t kManyInstances = 200;

bool BeginsWith(const std::string& text, const std::string& start) {
  return text.compare(0, start.size(), start) == 0;
}

// --- where on the command line the last word is --------------------------------

/// The command that the words before the last one have chosen.
struct Place {
  const CLI::App* command;
  const CLI::Option* valueOf = nullptr;  ///< the option whose value comes next
  std::vector<std::string> arguments;    ///< what stands before it, without options
  std::string root;                      ///< the value of --root
};

const CLI::Option* FindOption(const CLI::App& app, const std::string& name) {
  for (const CLI::App* level = &app; level != nullptr; level = level->get_parent()) {
    for (const CLI::Option* option : level->get_options()) {
      if (option->nonpositional() && option->check_name(name)) return option;
    }
  }
  return nullptr;
}

const CLI::App* FindCommand(const CLI::App& app, const std::string& name) {
  for (const CLI::App* command : app.get_subcommands({})) {
    if (command->get_name() == name) return command;
  }
  return nullptr;
}

void Take(Place& place, const std::string& word) {
  if (place.valueOf != nullptr) {
    if (place.valueOf->check_lname("root")) place.root = word;
    place.valueOf = nullptr;
  } else if (BeginsWith(word, "-") && word.size() > 1) {
    const size_t value = word.find('=');
    const CLI::Option* option = FindOption(*place.command, word.substr(0, value));
    if (option == nullptr || option->get_items_expected_max() == 0) return;
    if (value == std::string::npos) {
      place.valueOf = option;
    } else if (option->check_lname("root")) {
      place.root = word.substr(value + 1);
    }
  } else if (const CLI::App* command = FindCommand(*place.command, word)) {
    place.command = command;
  } else {
    place.arguments.push_back(word);
  }
}

/// Returns the argument that comes next: the last one repeats if it may.
const CLI::Option* NextArgument(const Place& place) {
  const auto expected = place.command->get_options([](const CLI::Option* option) { return option->get_positional(); });
  if (expected.empty()) return nullptr;
  if (place.arguments.size() < expected.size()) return expected[place.arguments.size()];
  return expected.back()->get_expected_max() > 1 ? expected.back() : nullptr;
}

// --- candidates of each kind ---------------------------------------------------

std::string TypeName(const SchemaInfo& type) {
  return ObjectName({type.key, type.group, type.component});
}

/// "set", "get" and the like take an object: one that is stored, or the single
/// one of a type; of a type with many instances, one of them.
void AddObjects(const std::string& start, Candidates& found) {
  for (const SchemaInfo& type : OrvoConfigStore::ListSchemas()) {
    const std::string name = TypeName(type);
    if (type.singleton) {
      found.insert(name);
    } else if (BeginsWith(name, start) || BeginsWith(start, name + "@")) {
      const auto stored = OrvoConfigStore::ListStoredObjects(type.component, type.group, type.key);
      Candidates instances;
      for (const StoredName& object : stored) {
        const std::string instance = ObjectName(object.id);
        if (BeginsWith(instance, start)) instances.insert(instance);
      }
      if (instances.size() > kManyInstances && start.size() <= name.size()) instances = {name + "@"};
      found.insert(instances.begin(), instances.end());
    }
  }
}

void AddTypes(const std::string&, Candidates& found) {
  for (const SchemaInfo& type : OrvoConfigStore::ListSchemas()) found.insert(TypeName(type));
}

/// Prefixes of names, whole objects among them.
void AddPrefixes(const std::string& start, Candidates& found) {
  for (const SchemaInfo& type : OrvoConfigStore::ListSchemas()) {
    const std::string name = TypeName(type);
    const size_t group = name.find('/');
    for (const size_t length : {group, name.find('/', group + 1), name.size()}) found.insert(name.substr(0, length));
  }
  AddObjects(start, found);
}

void AddFiles(const std::string&, Candidates& found) {
  found.insert(":files");
}

// What an argument is, by its name in the usage, "[]..." and the like left out.
struct ArgumentKind {
  const char* name;
  void (*add)(const std::string& start, Candidates& found);
};

const ArgumentKind kArgumentKinds[] = {
    {"ID", AddObjects}, {"OBJECT", AddObjects}, {"TYPE", AddTypes},     {"PREFIX", AddPrefixes}, {"FILE", AddFiles},
    {"DEST", AddFiles}, {"DOC", AddFiles},      {"DOCUMENT", AddFiles}, {"BEFORE", AddFiles},    {"AFTER", AddFiles},
};

// --- fields and their values ---------------------------------------------------

/// Returns the step below, "/link/eth0" of "/link/eth0/mtu", with "/" left off.
std::vector<std::string> Steps(const std::string& path) {
  std::vector<std::string> steps;
  for (size_t begin = 1; begin <= path.size();) {
    const size_t end = std::min(path.find('/', begin), path.size());
    steps.push_back(path.substr(begin, end - begin));
    begin = end + 1;
  }
  return steps;
}

/// Whether `described`, where elements of an array have the array's path, is the
/// description of the field at `path`, where they have their identifier.
bool Describes(const std::vector<FieldDescription>& fields, const std::string& described, const std::string& path) {
  std::string at;
  const auto steps = Steps(path);
  for (size_t i = 0; i < steps.size(); ++i) {
    at += "/" + steps[i];
    const auto field =
        std::find_if(fields.begin(), fields.end(), [&at](const FieldDescription& known) { return known.path == at; });
    if (field != fields.end() && field->type == "array of objects") ++i;  // the identifier
  }
  return at == described;
}

std::vector<FieldDescription> FieldsOf(const std::string& object) {
  auto type = ParseObjectName(object);
  type.instanceId.clear();
  return OrvoConfigStore::DescribeType(type);
}

/// Adds the fields of an object: those of its type that lie in no array, and those it holds.
void AddFields(const std::string& object, const std::string& before, const char* after, Candidates& found) {
  const std::vector<FieldDescription> fields = FieldsOf(object);
  for (const FieldDescription& field : fields) {
    if (!field.path.empty() && Describes(fields, field.path, field.path)) found.insert(before + field.path + after);
  }
  for (const auto& field : OrvoConfigStore::ExplainObject(ParseObjectName(object)).fields) {
    if (field.effective) found.insert(before + field.path + after);
  }
}

/// Adds the values that the field at `path` can have, where they are few.
void AddValues(const std::string& object, const std::string& path, const std::string& before, Candidates& found) {
  constexpr char kEnumeration[] = "one of ";
  const std::vector<FieldDescription> fields = FieldsOf(object);
  for (const FieldDescription& field : fields) {
    if (!Describes(fields, field.path, BeginsWith(path, "/") ? path : "/" + path)) continue;
    if (field.type == "boolean") found.insert({before + "true", before + "false"});
    for (const std::string& rule : field.rules) {
      if (!BeginsWith(rule, kEnumeration)) continue;
      for (const std::string& value : CLI::detail::split(rule.substr(sizeof kEnumeration - 1), ',')) {
        found.insert(before + CLI::detail::trim_copy(value));
      }
    }
  }
}

// --- putting them together -----------------------------------------------------

/// Adds what a check of the tool's own allows, "TEXT:{user,auto}".
bool AddChoices(const CLI::Option& option, Candidates& found) {
  const std::string type = option.get_type_name();
  const size_t begin = type.find('{'), end = type.find('}', begin);
  if (end == std::string::npos) return false;
  for (const std::string& choice : CLI::detail::split(type.substr(begin + 1, end - begin - 1), ',')) {
    found.insert(choice);
  }
  return true;
}

void AddArgument(const Place& place, const CLI::Option& argument, const std::string& word, Candidates& found) {
  if (AddChoices(argument, found)) return;
  const std::string name = argument.get_name(true);
  if (BeginsWith(name, "FIELD")) {
    if (place.arguments.empty()) return;
    const size_t value = word.find('=');
    const bool takesValue = name.find('=') != std::string::npos;
    if (value != std::string::npos) {
      AddValues(place.arguments[0], word.substr(0, value), word.substr(0, value + 1), found);
    } else {
      AddFields(place.arguments[0], "", takesValue ? "=" : "", found);
      for (const std::string& path : Candidates(found)) found.insert(path.substr(1));  // "/" may be left out
    }
    return;
  }
  const size_t field = word.find("#/");
  if (field != std::string::npos) return AddFields(word.substr(0, field), word.substr(0, field + 1), "", found);
  for (const ArgumentKind& kind : kArgumentKinds) {
    if (name == kind.name) kind.add(word, found);
  }
}

void AddOptions(const CLI::App& app, Candidates& found) {
  for (const CLI::App* level = &app; level != nullptr; level = level->get_parent()) {
    for (const CLI::Option* option : level->get_options()) {
      for (const std::string& name : option->get_lnames()) found.insert("--" + name);
    }
  }
}

void AddOptionValue(const CLI::Option& option, Candidates& found) {
  if (AddChoices(option, found)) return;
  if (option.check_lname("root")) found.insert(":directories");
  for (const char* name : {"file", "part", "output"}) {
    if (option.check_lname(name)) found.insert(":files");
  }
}

Candidates FindCandidates(const CLI::App& app, const std::vector<std::string>& words) {
  Place place{&app, nullptr, {}, {}};
  for (size_t i = 0; i + 1 < words.size(); ++i) Take(place, words[i]);
  const std::string& word = words.back();
  if (std::filesystem::is_directory(place.root)) {
    OrvoConfigStore::SetHostRoot(std::filesystem::absolute(place.root).lexically_normal().string());
  }
  Candidates found;
  if (place.valueOf != nullptr) {
    AddOptionValue(*place.valueOf, found);
  } else if (BeginsWith(word, "-")) {
    AddOptions(*place.command, found);
  } else {
    for (const CLI::App* command : place.command->get_subcommands({})) found.insert(command->get_name());
    const CLI::Option* argument = NextArgument(place);
    if (argument != nullptr) AddArgument(place, *argument, word, found);
  }
  return found;
}

}  // namespace

void PrintCandidates(const CLI::App& app, const std::vector<std::string>& words, std::ostream& output) {
  try {
    for (const std::string& candidate : FindCandidates(app, words)) {
      if (BeginsWith(candidate, words.back()) || BeginsWith(candidate, ":")) output << candidate << "\n";
    }
  } catch (const std::exception&) {
    // Deliberate: a shell that completes shows no errors; the command itself will.
  }
}

}  // namespace csctl
