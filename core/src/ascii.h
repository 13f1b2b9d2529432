#pragma once

/// Classification of bytes as the C library does it in the "C" locale. The ctype functions are not used
/// because they follow the process's locale and are undefined for a negative char, which a byte from 0x80 on
/// is on some machines.
namespace ascii {

inline bool isSpace(char byte) noexcept {
  return byte == ' ' || (byte >= '\t' && byte <= '\r');
}

inline bool isDigit(char byte) noexcept {
  return byte >= '0' && byte <= '9';
}

inline bool isLetter(char byte) noexcept {
  return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z');
}

/// The value of a hexadecimal digit; -1 if it is none.
inline int hexDigitValue(char byte) noexcept {
  if (isDigit(byte)) return byte - '0';
  if (byte >= 'a' && byte <= 'f') return byte - 'a' + 10;
  if (byte >= 'A' && byte <= 'F') return byte - 'A' + 10;
  return -1;
}

}  // namespace ascii
