#pragma once

#include <initializer_list>
#include <string>
#include <string_view>

namespace OrvoConfigStore {

/// Fills the "%s" (in order) and "%N$s" places of a statement text, in one pass,
/// so that a "%" in a value is never read again. Quotes in values are doubled:
/// every place of a statement stands between quotes or names a column of ours.
/// Throws ConfigStoreException(2000) for a value that holds a NUL byte.
std::string FormatSql(std::string_view text, std::initializer_list<std::string_view> values);

/// Throws as FormatSql does when `name` holds a NUL byte.
void CheckName(std::string_view name);

}  // namespace OrvoConfigStore
