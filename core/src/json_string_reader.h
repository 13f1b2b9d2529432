#pragma once

#include <string>
#include <string_view>

#include "src/SwJsonCursor.h"
#include "src/plain_run.h"

/// Reads the rest of a string whose bytes up to the cursor are `start`, plain ones; else like readJsonString.
std::string_view readJsonStringFrom(std::string_view start, SwJsonCursor& cursor, std::string& unescaped);

/// Reads the string whose opening quote is at the cursor and moves past its closing quote. The result is a
/// view of the text, or of `unescaped` if it is not there as it stands, and valid while both are. On an
/// error, which the cursor then holds, it is empty.
inline std::string_view readJsonString(SwJsonCursor& cursor, std::string& unescaped) {
  if (!cursor.atEnd()) cursor.advance();
  const std::string_view run(cursor.at(), plain_run::length(cursor.at(), cursor.remaining()));
  cursor.advance(run.size());
  return cursor.skip('"') ? run : readJsonStringFrom(run, cursor, unescaped);
}
