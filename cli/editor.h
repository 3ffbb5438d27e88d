#pragma once

#include <string>

namespace csctl {

/// Has the user's editor ($VISUAL, $EDITOR, or vi) change `text` in a file that
/// only this user may read, and returns what it holds afterwards; the file is then
/// gone. Throws CommandFailed(kUsage) when the editor cannot be run or fails.
std::string EditText(const std::string& text);

}  // namespace csctl
