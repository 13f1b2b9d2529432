#pragma once

#include <string>
#include <string_view>

#include "src/SwJsonCursor.h"

/// Reads the string whose opening quote is at the cursor and moves past its closing quote. The result is a
/// view of the text, or of `unescaped` if it is not there as it stands, and valid while both are. On an
/// error, which the cursor then holds, it is empty.
std::string_view readJsonString(SwJsonCursor& cursor, std::string& unescaped);
