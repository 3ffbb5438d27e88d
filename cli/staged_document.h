#pragma once

#include <configstore/config_store.h>

#include <memory>
#include <string>
#include <vector>

/// The staged configuration as one JSON text:
/// {"components": {COMPONENT: {GROUP: {KEY: object, or array of instances}}}}.

namespace csctl {

using StagedObjects = std::vector<std::shared_ptr<OrvoConfigStore::ConfigStoreObject>>;

/// Returns the objects that `text` holds. Throws CommandFailed(kInvalid), which
/// names the place, when it holds anything else or none.
StagedObjects ParseStagedDocument(const std::string& text);

/// Returns the text of objects; read again it gives the same ones, secrets excepted
/// when they are masked.
std::string StagedDocument(const StagedObjects& objects, bool showSecrets);

}  // namespace csctl
