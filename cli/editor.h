#pragma once

#include <configstore/object_id.h>

#include <string>

namespace csctl {

/// What came of an editor.
struct Edited {
  std::string text;  ///< that it left
  bool isDone;       ///< it ended well
};

/// Has the user edit `text`, in a file of theirs alone, which is gone afterwards,
/// with $VISUAL, $EDITOR or vi. Throws CommandFailed(kUsage) when there is no file
/// to edit.
Edited EditText(const std::string& text);

/// Returns the command that EditText runs.
std::string EditorCommand();

/// Keeps what was edited of the object in a file of this user alone, its secrets
/// masked, and returns the path. Throws CommandFailed(kUsage) when it cannot.
std::string KeepEdited(const OrvoConfigStore::ConfigStoreObjectId& id, const std::string& text);

/// Returns `text`, meant to be the JSON text of the object, with every secret in it
/// masked; of a text that is none, whatever follows a secret's name.
std::string WithoutSecrets(const OrvoConfigStore::ConfigStoreObjectId& id, const std::string& text);

}  // namespace csctl
