#include "src/json_string_reader.h"

#include <cstddef>
#include <cstdint>

#include "src/ascii.h"
#include "src/plain_run.h"

namespace {

constexpr uint32_t kHighSurrogates = 0xD800;
constexpr uint32_t kLowSurrogates = 0xDC00;
constexpr uint32_t kAfterSurrogates = 0xE000;

void appendUtf8(uint32_t codePoint, std::string& out) {
  const auto append = [&out](uint32_t byte) { out += static_cast<char>(static_cast<unsigned char>(byte)); };
  const auto appendContinuation = [&](unsigned shift) { append(0x80U | ((codePoint >> shift) & 0x3FU)); };
  if (codePoint < 0x80) {
    append(codePoint);
  } else if (codePoint < 0x800) {
    append(0xC0U | (codePoint >> 6));
    appendContinuation(0);
  } else if (codePoint < 0x10000) {
    append(0xE0U | (codePoint >> 12));
    appendContinuation(6);
    appendContinuation(0);
  } else {
    append(0xF0U | (codePoint >> 18));
    appendContinuation(12);
    appendContinuation(6);
    appendContinuation(0);
  }
}

/// Reads the four digits after "\u".
bool readHexDigits(SwJsonCursor& cursor, uint32_t& out) {
  if (cursor.remaining() < 4) {
    cursor.fail("Incomplete Unicode escape sequence");
    return false;
  }
  out = 0;
  for (int i = 0; i < 4; ++i) {
    const int digit = ascii::hexDigitValue(cursor.peek());
    if (digit < 0) {
      cursor.fail("Invalid hex digit in Unicode escape");
      return false;
    }
    out = out * 16 + static_cast<uint32_t>(digit);
    cursor.advance();
  }
  return true;
}

/// Reads what follows "\u": four digits, and the second escape of a surrogate pair.
bool readUnicodeEscape(SwJsonCursor& cursor, std::string& out) {
  uint32_t codePoint = 0;
  if (!readHexDigits(cursor, codePoint)) return false;

  if (codePoint >= kLowSurrogates && codePoint < kAfterSurrogates) {
    cursor.fail("Unexpected low surrogate without leading high surrogate");
    return false;
  }
  if (codePoint >= kHighSurrogates && codePoint < kLowSurrogates) {
    if (cursor.text().compare(cursor.index(), 2, "\\u") != 0) {
      cursor.fail("Missing low surrogate after high surrogate");
      return false;
    }
    cursor.advance(2);
    uint32_t low = 0;
    if (!readHexDigits(cursor, low)) return false;
    if (low < kLowSurrogates || low >= kAfterSurrogates) {
      cursor.fail("Invalid low surrogate in Unicode escape");
      return false;
    }
    codePoint = 0x10000 + ((codePoint - kHighSurrogates) << 10) + (low - kLowSurrogates);
  }
  appendUtf8(codePoint, out);
  return true;
}

/// The byte that a backslash and `letter` stand for; NUL if the letter means nothing.
char simpleEscape(char letter) {
  switch (letter) {
    case '"':
    case '\\':
    case '/':
      return letter;
    case 'b':
      return '\b';
    case 'f':
      return '\f';
    case 'n':
      return '\n';
    case 'r':
      return '\r';
    case 't':
      return '\t';
    default:
      return '\0';
  }
}

/// Reads what follows a backslash.
bool readEscape(SwJsonCursor& cursor, std::string& out) {
  if (cursor.atEnd()) {
    cursor.fail("Invalid escape sequence in string");
    return false;
  }
  if (cursor.skip('u')) return readUnicodeEscape(cursor, out);

  const char byte = simpleEscape(cursor.peek());
  if (byte == '\0') {
    cursor.fail("Invalid escape character in string");
    return false;
  }
  out += byte;
  cursor.advance();
  return true;
}

/// Reads up to and with the closing quote; false if it is missing or something before it is wrong.
bool readToClosingQuote(SwJsonCursor& cursor, std::string& out) {
  for (;;) {
    if (cursor.skip('"')) return true;
    if (cursor.skip('\\')) {
      if (!readEscape(cursor, out)) return false;
    } else {
      cursor.fail(cursor.atEnd() ? "Unterminated string literal" : "Unescaped control character in string");
      return false;
    }
    const std::size_t run = plain_run::length(cursor.at(), cursor.remaining());
    out.append(cursor.at(), run);
    cursor.advance(run);
  }
}

}  // namespace

std::string_view readJsonStringFrom(std::string_view start, SwJsonCursor& cursor, std::string& unescaped) {
  unescaped = start;
  return readToClosingQuote(cursor, unescaped) ? std::string_view(unescaped) : std::string_view();
}
