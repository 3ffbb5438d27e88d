#include "field_commands.h"

#include <configstore/edit_fields.h>
#include <configstore/errors.h>

#include <CLI/CLI.hpp>

#include "command.h"
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

/// Changes one layer: it is read, changed and written back in one transaction.
template <class Change>
Exit ChangeLayer(Session& session, const char* done, const ConfigStoreObjectId& id, const Layer& layer, Change change) {
  auto store = OpenStore();
  const WriteReport report = PerformWrite(store, id, [&](const Row& row) {
    const std::string before = (row ? (*row).*layer.text : std::nullopt).value_or("{}");
    layer.set(*store, ConfigStore::CreateObject(id, change(row, before)));
  });
  PrintWrite(session, done, id, report);
  return Exit::kDone;
}

// --- unset -------------------------------------------------------------------

Exit UnsetFields(Session& session, const WriteOptions& options) {
  const ConfigStoreObjectId id = session.TakeObject(options.id);
  const std::vector<FieldEdit> edits = ParseEdits(options, FieldEdit::UNSET);
  return ChangeLayer(session, "unset", id, options.CallersLayer(), [&](const Row& row, const std::string& layer) {
    if (!row) FailNotFound("there is no such object", "\"csctl ls\" lists what is stored");
    return OrvoConfigStore::EditFields(id, layer, edits);
  });
}

Run SetUpUnset(CLI::App& app) {
  auto options = std::make_shared<WriteOptions>();
  app.add_option("ID", options->id, kIdHelp)->required();
  app.add_option("FIELD", options->fields, "Fields to take away: /mtu, link/eth0/mtu, link/eth0")->required();
  AddLayer(app, *options, AddAs(app, *options));
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
std::string TakeEdited(const ConfigStoreObjectId& id, const std::string& text, const std::string& layer) {
  try {
    return OrvoConfigStore::UnmaskSecrets(id, text, layer);
  } catch (const OrvoConfigStore::InvalidArgumentException&) {
    throw CommandFailed({Exit::kInvalid, "what was edited is no JSON object", "", "edit again; nothing was changed"});
  }
}

Exit EditObject(Session& session, const WriteOptions& options) {
  const ConfigStoreObjectId id = session.TakeObject(options.id);
  const Layer& layer = options.CallersLayer();
  OpenStore();
  const Row opened = OrvoConfigStore::ReadStoredRow(id);
  const std::string stored = (opened ? (*opened).*layer.text : std::nullopt).value_or("{}");
  OrvoConfigStore::UnmaskSecrets(id, stored, stored);  // refuses what is damaged
  const std::string shown = IndentJson(OrvoConfigStore::MaskSecrets(id, stored)) + "\n";
  const std::string text = EditText(shown);
  if (text == shown) {
    session.PrintResult("unchanged " + session.where, JsonObject({{"unchanged", JsonString(session.where)}}));
    return Exit::kDone;
  }
  const std::string edited = TakeEdited(id, text, stored);
  return ChangeLayer(session, "stored", id, layer, [&](const Row& row, const std::string&) {
    if (IsSame(row, opened)) return edited;
    throw CommandFailed({Exit::kConflict, "the object has changed since the editor was opened", "",
                         "edit again, or set single fields with \"csctl set ID FIELD=VALUE\"; nothing was changed"});
  });
}

Run SetUpEdit(CLI::App& app) {
  auto options = std::make_shared<WriteOptions>();
  app.add_option("ID", options->id, kIdHelp)->required();
  AddLayer(app, *options, AddAs(app, *options));
  return [options](Session& session) { return EditObject(session, *options); };
}

}  // namespace

Exit SetFields(Session& session, const ConfigStoreObjectId& id, const WriteOptions& options) {
  const std::vector<FieldEdit> edits =
      ParseEdits(options, options.takesJson ? FieldEdit::SET_JSON : FieldEdit::SET_WORD);
  return ChangeLayer(session, "stored", id, options.CallersLayer(), [&](const Row&, const std::string& layer) {
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
