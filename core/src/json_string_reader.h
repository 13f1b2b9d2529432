#pragma once

#include <string>

#include "SwJsonCursor.h"

/// Reads the string whose opening quote is at the cursor and moves past its closing quote. On an error, which
/// the cursor then holds, the result is empty.
std::string readJsonString(SwJsonCursor& cursor);
