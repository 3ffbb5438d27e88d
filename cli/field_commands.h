#pragma once

#include "exit_code.h"
#include "layer_write.h"
#include "session.h"

namespace csctl {

/// Sets the fields that the options name in one layer of an object.
Exit SetFields(Session& session, const OrvoConfigStore::ConfigStoreObjectId& id, const WriteOptions& options);

}  // namespace csctl
