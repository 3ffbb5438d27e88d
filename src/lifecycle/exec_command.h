#pragma once

namespace OrvoConfigStore {

/// Runs a program with arguments, a list that ends in a null pointer, and waits
/// for its end. Returns whether it ended with exit value 0; otherwise logs 1102
/// when it could not be started, 1103 when its end could not be waited for, or
/// 1104 with its exit value.
bool ExecCommand(const char* const arguments[]);

}  // namespace OrvoConfigStore
