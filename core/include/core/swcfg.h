#pragma once

#include <string>

#include "core/SwJsonObject.h"
#include "core/SwJsonValue.h"
#include "core/export.h"

namespace swcfg {

/// Looks up the value at `path` below `root`: the member names on the way to it, separated by slashes or
/// backslashes. White space (of the "C" locale) around a name does not count, nor do empty names, so " a//b/"
/// is "a/b"; names are compared byte by byte. All but the last must lead to objects. Copies the value to
/// `out` and returns true; false, with `out` untouched, if there is none or the path has no name. Throws
/// std::bad_alloc alone. Threads: as for the two values.
SW_CORE_EXPORT bool getValue(const SwJsonObject& root, const std::string& path, SwJsonValue& out);

}  // namespace swcfg
