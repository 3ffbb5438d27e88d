#include "field_commands.h"

#include <configstore/edit_fields.h>
#include <configstore/errors.h>

#include <functional>

#include "command.h"
#include "diagnosis.h"
#include "editor.h"
#include "failure.h"
#include "json_text.h"
#include "object_input.h"
#include "object_name.h"

namespace csctl {

using OrvoConfigStore::ConfigStore;
using OrvoConfigStore::ConfigStoreObjectId;
using OrvoConfigStore::FieldEdit;
using OrvoConfigStore::StoredRow;

namespace {

/// Reads FIELD=VALUE, or FIELD alone when it is to be unset.
FieldEdit ParseEdit(const std::string& text, FieldEdit::Kind kind) {
  FieldEdit edit{kind, text, ""};
  if (kind != FieldEdit::UNSET) {
    const size_t sign = text.find('=');
    if (sign == std::string::npos || sign == 0) {
      // The text is not repeated: it may be a secret.
      throw CommandFailed(
          {Exit::kUsage, "an argument is not FIELD=VALUE", "", "write /mtu=1500; a \"=\" in a field is written %3D"});
    }
    edit.path = text.substr(0, sign);
    edit.value = text.substr(sign + 1);
  } else if (text.find('=') != std::string::npos) {
    throw CommandFailed({Exit::kUsage, "a field to unset takes no value", "", "a \"=\" in a field is written %3D"});
  }
  edit.path = ParseField(edit.path);
  return edit;
}

std::vector<FieldEdit> ParseEdits(const WriteOptions& options, FieldEdit::Kind kind) {
  std::vector<FieldEdit> edits;
  for (const std::string& text : options.fields) edits.push_back(ParseEdit(text, kind));
  return edits;
}

/// Changes one layer: it is read, changed and written back in one transaction. A
/// refusal is explained by `diagnose`, which is given what was to be written.
template <class Change, class DiagnoseText>
Exit ChangeLayer(Session& session, const char* done, const ConfigStoreObjectId& id, const Layer& layer, Change change,
                 DiagnoseText diagnose) {
  auto store = OpenStore();
  const WriteReport report = PerformWrite(store, id, [&](const Row& row) {
    const std::string before = (row ? (*row).*layer.text : std::nullopt).value_or("{}");
    const InputText after{session.where, change(row, before)};
    WriteDiagnosed(
        after, [&] { return diagnose(after.text); },
        [&] { layer.set(*store, ConfigStore::CreateObject(id, after.text)); });
  });
  PrintWrite(session, done, id, report);
  return Exit::kDone;
}

/// Changes one layer by edits. The text that they make is nobody's, so that no
/// position in it is told.
Exit ChangeFields(Session& session, const char* done, const ConfigStoreObjectId& id, const Layer& layer,
                  const std::function<std::string(const Row& row, const std::string& text)>& change) {
  return ChangeLayer(session, done, id, layer, change, [&](const std::string& text) {
    std::vector<Diagnostic> found = OrvoConfigStore::DiagnoseObject(id, text, layer.use);
    for (Diagnostic& diagnostic : found) diagnostic.line = diagnostic.column = 0;
    return found;
  });
}

// --- unset -------------------------------------------------------------------

Exit UnsetFields(Session& session, const WriteOptions& options) {
  const ConfigStoreObjectId id = session.TakeObject(options.id);
  const std::vector<FieldEdit> edits = ParseEdits(options, FieldEdit::UNSET);
  return ChangeFields(session, "unset", id, options.CallersLayer(), [&](const Row& row, const std::string& layer) {
    if (!row) FailNotFound("there is no such object", "\"csctl ls\" lists what is stored");
    return OrvoConfigStore::EditFields(id, layer, edits);
  });
}

Run SetUpUnset(Arguments& arguments) {
  auto options = std::make_shared<WriteOptions>();
  arguments.Option("ID", options->id, kIdHelp).Required();
  arguments.Option("FIELD", options->fields, "Fields to take away: /mtu, link/eth0/mtu, link/eth0").Required();
  AddLayer(arguments, *options, AddAs(arguments, *options));
  return [options](Session& session) { return UnsetFields(session, *options); };
}

// --- edit --------------------------------------------------------------------

bool IsSame(const StoredRow& a, const StoredRow& b) {
  return a.autoConfValue == b.autoConfValue && a.userValue == b.userValue && a.vitalValue == b.vitalValue &&
         a.cachedValue == b.cachedValue && a.desiredValue == b.desiredValue && a.confirmed == b.confirmed;
}

bool IsSame(const Row& a, const Row& b) {
  return a.has_value() == b.has_value() && (!a || IsSame(*a, *b));
}

/// Parses what the editor left; the secrets that it never saw come back.
std::string TakeEdited(const ConfigStoreObjectId& id, const Edited& edited, const std::string& layer) {
  if (!edited.isDone) {
    throw CommandFailed({Exit::kUsage, "the editor failed", EditorCommand(),
                         "set EDITOR to a program that edits a file and ends well; nothing was changed"});
  }
  const auto fault = OrvoConfigStore::FindSyntaxError(edited.text);
  try {
    if (!fault) return OrvoConfigStore::UnmaskSecrets(id, edited.text, layer);
  } catch (const OrvoConfigStore::InvalidArgumentException&) {
    // Not an object; what is no JSON has its place told.
  }
  Failure failure{Exit::kInvalid, "what was edited is no JSON object", "", "edit again; nothing was changed"};
  if (fault) failure.diagnostics.push_back(*fault);
  throw CommandFailed(failure);
}

/// Stores what was edited, if the row is still as it was `opened`.
Exit StoreEdited(Session& session, const ConfigStoreObjectId& id, const Layer& layer, const Row& opened,
                 const std::string& stored, const Edited& edited) {
  const std::string text = TakeEdited(id, edited, stored);
  const auto change = [&](const Row& row, const std::string&) {
    if (IsSame(row, opened)) return text;
    throw CommandFailed({Exit::kConflict, "the object has changed since the editor was opened", "",
                         "edit again, or set single fields with \"csctl set ID FIELD=VALUE\"; nothing was changed"});
  };
  return ChangeLayer(session, "stored", id, layer, change, [&](const std::string&) {
    return OrvoConfigStore::DiagnoseObject(id, WithoutSecrets(id, edited.text), layer.use);
  });
}

/// Fails as `error` says; what was edited is not lost.
[[noreturn]] void FailKeeping(const std::exception& error, const Session& session, const ConfigStoreObjectId& id,
                              const Layer& layer, const std::string& text) {
  Failure failure = Explain(error, session.where);
  try {
    const std::string shown = WithoutSecrets(id, text), path = Printable(KeepEdited(shown));
    const char* const but = shown == text ? "" : ", secrets and what may be some masked";
    failure.next = "what you edited is kept in " + path + but + "; correct it there, then \"csctl set " +
                   session.where + " --layer " + layer.name + " -f " + path + "\"; nothing was changed";
  } catch (const CommandFailed& lost) {
    failure.next += "; what you edited could not be kept: " + std::string(lost.what());
  }
  throw CommandFailed(failure);
}

Exit EditObject(Session& session, const WriteOptions& options) {
  const ConfigStoreObjectId id = session.TakeObject(options.id);
  const Layer& layer = options.CallersLayer();
  OpenStore();
  const Row opened = OrvoConfigStore::ReadStoredRow(id);
  const std::string stored = (opened ? (*opened).*layer.text : std::nullopt).value_or("{}");
  OrvoConfigStore::UnmaskSecrets(id, stored, stored);  // refuses what is damaged
  const std::string shown = IndentJson(OrvoConfigStore::MaskSecrets(id, stored)) + "\n";
  const Edited edited = EditText(shown);
  if (edited.text == shown) {
    if (!edited.isDone) TakeEdited(id, edited, stored);
    session.PrintResult("unchanged " + session.where, JsonObject({{"unchanged", JsonString(session.where)}}));
    return Exit::kDone;
  }
  try {
    return StoreEdited(session, id, layer, opened, stored, edited);
  } catch (const std::exception& error) {
    FailKeeping(error, session, id, layer, edited.text);
  }
}

Run SetUpEdit(Arguments& arguments) {
  auto options = std::make_shared<WriteOptions>();
  arguments.Option("ID", options->id, kIdHelp).Required();
  AddLayer(arguments, *options, AddAs(arguments, *options));
  return [options](Session& session) { return EditObject(session, *options); };
}

}  // namespace

Exit SetFields(Session& session, const ConfigStoreObjectId& id, const WriteOptions& options) {
  const std::vector<FieldEdit> edits =
      ParseEdits(options, options.takesJson ? FieldEdit::SET_JSON : FieldEdit::SET_WORD);
  return ChangeFields(session, "stored", id, options.CallersLayer(), [&](const Row&, const std::string& layer) {
    return OrvoConfigStore::EditFields(id, layer, edits);
  });
}

const std::vector<Command>& FieldCommands() {
  static const std::vector<Command> commands = {
      {"unset", "Take fields away from one layer of an object", SetUpUnset, true},
      {"edit", "Change one layer of an object with $VISUAL or $EDITOR; secrets stand as a mask", SetUpEdit, true},
  };
  return commands;
}

}  // namespace csctl
