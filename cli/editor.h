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

/// Keeps `text` in a file of this user alone and returns the path. Throws
/// CommandFailed(kUsage) when it cannot.
std::string KeepEdited(const std::string& text);

/// Returns `text`, meant to be the JSON text of the object, with everything in it masked
/// that is a secret or may be one under a wrong name; of a text that is none, whatever
/// follows such a name.
std::string WithoutSecrets(const OrvoConfigStore::ConfigStoreObjectId& id, const std::string& text);

}  // namespace csctl
