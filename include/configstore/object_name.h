#pragma once

#include <string>

#include "configstore/export.h"
#include "configstore/object_id.h"

/// Names of objects as one text: COMPONENT/GROUP/KEY, followed by @INSTANCE where
/// the type has instances.
///
/// 1. The first two "/" end the component and the group.
/// 2. After them the first "@" begins the instance; "#/" would begin a field and
///    is not taken here.
/// 3. In every part "%XX" is the byte of that hexadecimal number, NUL excepted;
///    so any name can be written, and a "/" in a key must be.

namespace OrvoConfigStore {

/// Returns the object that `text` names. Throws InvalidArgumentException(2000),
/// which says what is wrong with it.
CONFIGSTORE_API ConfigStoreObjectId ParseObjectName(const std::string& text);

/// Returns the name of `id` such that it reads back as it, in a shell's command
/// line too: everything but letters, digits and a few signs is escaped.
CONFIGSTORE_API std::string ObjectName(const ConfigStoreObjectId& id);

/// One part of a name, without and with its escapes. A part is never empty;
/// unescaping throws as above.
CONFIGSTORE_API std::string UnescapeNamePart(const std::string& text);
CONFIGSTORE_API std::string EscapeNamePart(const std::string& part);

}  // namespace OrvoConfigStore
