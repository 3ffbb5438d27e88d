#pragma once

#include <string>

#include "platform/rapidjson.h"

namespace OrvoConfigStore {

/// Sets `value` to what `word` means where the schema node stands: a text, a
/// number, true or false, a list of scalars between commas. Returns what is wrong
/// with the word, without the word itself; empty when it is right.
std::string ReadWord(const std::string& word, const JsonValue& node, JsonValue& value, JsonAllocator& allocator);

}  // namespace OrvoConfigStore
