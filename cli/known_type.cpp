#include "known_type.h"

#include <configstore/host.h>

#include <algorithm>

#include "failure.h"
#include "json_text.h"

namespace csctl {

using OrvoConfigStore::SchemaInfo;

bool IsRegistered(const NamePrefix& prefix) {
  const auto fits = [](const std::string& part, const std::string& name) { return part.empty() || part == name; };
  const std::vector<SchemaInfo> types = OrvoConfigStore::ListSchemas();
  return std::any_of(types.begin(), types.end(), [&](const SchemaInfo& type) {
    return fits(prefix.component, type.component) && fits(prefix.group, type.group) && fits(prefix.key, type.key);
  });
}

void FailUnregistered(const NamePrefix& prefix) {
  throw CommandFailed(
      {Exit::kNotFound, "no registered type has this name", "", AskForNearest(prefix) + "\"csctl types\" lists them"});
}

std::string AskForNearest(const NamePrefix& prefix) {
  const std::string nearest = OrvoConfigStore::NearestTypeName({prefix.key, prefix.group, prefix.component});
  return nearest.empty() ? nearest : "did you mean \"" + Printable(nearest) + "\"? ";
}

}  // namespace csctl
