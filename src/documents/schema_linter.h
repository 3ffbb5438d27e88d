#pragma once

#include <vector>

#include "configstore/schema_tools.h"
#include "platform/rapidjson.h"

namespace OrvoConfigStore {

/// Adds what registration would take and no value could satisfy, or what has no
/// effect, with its pointer and no place. `file` is the object of a schema file,
/// malformed as it may be; `isSound`: registration would take it, so that values
/// can be validated.
void LintSchemaFile(const JsonValue& file, bool isSound, std::vector<SchemaFinding>& findings);

}  // namespace OrvoConfigStore
