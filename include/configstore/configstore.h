#pragma once

/// The whole interface of the configuration store.

#include "configstore/base_object.h"
#include "configstore/boot_state.h"
#include "configstore/config_store.h"
#include "configstore/config_store_object.h"
#include "configstore/context.h"
#include "configstore/diagnostics.h"
#include "configstore/documents.h"
#include "configstore/errors.h"
#include "configstore/filter_spec.h"
#include "configstore/host.h"
#include "configstore/inspect.h"
#include "configstore/json_document.h"
#include "configstore/lifecycle.h"
#include "configstore/logging.h"
#include "configstore/object_id.h"
#include "configstore/object_name.h"
#include "configstore/schema_tools.h"
#include "configstore/upgrade_library.h"
#include "configstore/validation.h"
#include "configstore/watch.h"
