#include "api/stored_row.h"

#include "store/statements.h"

namespace OrvoConfigStore {

std::optional<std::string> ColumnOf(const RowMap& row, const std::string& column) {
  const std::string* text = row.Find(column);
  return text == nullptr ? std::nullopt : std::optional<std::string>(*text);
}

StoredRow ToStoredRow(const RowMap& row, const std::string& prefix) {
  const auto layer = [&](const char* column) { return ColumnOf(row, prefix + column); };
  const auto text = [&](const char* column) { return row.Text(prefix + column); };
  return {layer(kAutoConfValue), layer(kUserValue),   layer(kVitalValue),  layer(kCachedValue),  layer(kDesiredValue),
          text(kVersion),        text(kCreationTime), text(kModifiedTime), text(kSuccess) == "1"};
}

ConfigStoreObjectId IdOf(const RowMap& row) {
  return {row.Text(kName), row.Text(kGroup), row.Text(kComponent), row.Text(kIdentifier)};
}

}  // namespace OrvoConfigStore
