#pragma once

#include <string>

#include "src/SwJsonCursor.h"

/// Reads the string whose opening quote is at the cursor into `out` and moves past its closing quote. On an
/// error, which the cursor then holds, `out` is empty.
void readJsonString(SwJsonCursor& cursor, std::string& out);
