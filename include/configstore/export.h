#pragma once

/// Marks what the shared library shows to its clients; all else is hidden.
#define CONFIGSTORE_API __attribute__((visibility("default")))
