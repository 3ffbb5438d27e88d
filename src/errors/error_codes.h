#pragma once

namespace OrvoConfigStore {

/// Returns the printf format of `code`'s message. It needs nothing set up and
/// can be called while static objects are made. Throws
/// std::out_of_range("_Map_base::at") for a code without one.
const char* MessageFormat(int code);

}  // namespace OrvoConfigStore
