#pragma once

#include "core/SwJsonValue.h"
#include "core/SwString.h"

/// Which value a decrypted text of a keyed document stands for. "true" and "false" are Bools and "null" is
/// Null; the two forms read numbers differently, on purpose: quoted ones in 32 bits and single precision,
/// bare ones in 64 bits and double precision. What is no number is a String, into which the text is moved;
/// from any other value it stays the caller's, and no copies of it are made.
namespace keyed_text {

/// The text of a quoted value. Digits, after an optional '-', are an Int as SwString::toInt reads them: of 32
/// bits, octal after a leading 0, and 0 with toInt's message if out of range. With one '.' before, among or
/// after the digits they are the Double of SwString::toFloat, so a single '.' is 0.0 with toFloat's message.
SwJsonValue quotedValue(SwString&& text);

/// The text of a bare token. If it holds one of '.', 'e' and 'E', it is a Double where strtod takes all of
/// it, so "0x1e" is one; otherwise a 64-bit Int where strtoll takes all of it in base 10. White space before
/// the number and a '+' are therefore allowed. A number out of range is a String.
SwJsonValue bareValue(SwString&& text);

}  // namespace keyed_text
