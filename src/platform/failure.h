#pragma once

/// How platform code fails: by exceptions that are defined above it. These two
/// functions are the only calls upwards; the error layer defines them.

namespace OrvoConfigStore {

/// Throws ConfigStoreException(2000, "Invalid JSON").
[[noreturn]] void ThrowInvalidJson();

/// Throws ConfigStoreException(2000, message).
[[noreturn]] void ThrowPlatformFailure(const char* message);

}  // namespace OrvoConfigStore
