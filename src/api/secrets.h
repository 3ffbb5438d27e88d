#pragma once

#include <string>
#include <vector>

#include "configstore/errors.h"
#include "platform/rapidjson.h"

/// Secrets: values whose schema node is of type "secret". They are shown as a
/// mask, and a mask that is written back means what is stored.

namespace OrvoConfigStore {

/// Replaces every secret in `data`, whatever its JSON type, by the mask.
void MaskSecretValues(JsonValue& data, const JsonValue& node);

/// Replaces by the mask what may be a secret under a wrong name: the text, number,
/// object or array of each member that the schema does not describe, unless its name
/// is a slip of one that holds no secret.
void MaskUndescribedValues(JsonValue& data, const JsonValue& node);

/// Removes every secret from `data`.
void OmitSecretValues(JsonValue& data, const JsonValue& node);

/// Whether any secret in `data` is the mask.
bool HasMaskedSecret(const JsonValue& data, const JsonValue& node);

/// Puts the value of the same place in `stored` (may be null) where `data` has
/// the mask. Elements are matched by identifier where their array has one, else
/// by position. Returns a violation for each mask with nothing behind it.
std::vector<ErrorInfo> RestoreMaskedSecrets(JsonValue& data, const JsonValue& node, const JsonValue* stored,
                                            JsonAllocator& allocator);

}  // namespace OrvoConfigStore
