#pragma once

#include <string_view>

/// The words of the schema dialect.

namespace OrvoConfigStore {

/// What a node describes; a keyword has an effect on some of these.
enum Kind : unsigned { kObjects = 1, kArrays = 2, kTexts = 4, kNumbers = 8, kBooleans = 16, kAnything = 31 };

/// Returns what a node of this "type" describes; 0 for a word that is none of the dialect.
unsigned KindOf(std::string_view type);

/// Returns the kinds on which the keyword has an effect; 0 for a word that is none of the dialect.
unsigned KindsWithKeyword(std::string_view keyword);

/// Whether a schema file may have the member.
bool IsFileMember(std::string_view name);

}  // namespace OrvoConfigStore
