#pragma once

#include <cstddef>
#include <functional>
#include <iosfwd>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "core/export.h"

/// A byte string. It knows no encoding: lengths and positions count bytes, and any byte, NUL included, may
/// occur. It converts from and to std::string freely, so the two can be mixed.
///
/// Numbers are read and written in the "C" locale, whatever the process has chosen with setlocale or
/// std::locale::global. No operation throws for bad input; what makes or grows a string throws
/// std::bad_alloc. Each message to standard error ends with a line feed, is written at once and flushed.
/// Threads: as for std::string.
class SW_CORE_EXPORT SwString {
 public:
  SwString() = default;

  /// Copies the bytes up to the terminating NUL; a null pointer gives the empty string.
  SwString(const char* text) : text_(text ? text : "") {}

  /// Copies `length` bytes from `text`, NUL bytes included. `text` may be null only if `length` is 0.
  SwString(const char* text, std::size_t length)
      : text_(length == 0 ? std::string() : std::string(text, length)) {}

  SwString(std::string text) noexcept : text_(std::move(text)) {}

  /// The bytes; the reference is valid as long as this string and changes with it. Those of a temporary are
  /// moved out.
  const std::string& str() const& noexcept { return text_; }
  std::string str() && noexcept { return std::move(text_); }

  /// The same reference, of a temporary too: there it is valid only until the end of the full expression, so
  /// `const std::string& name = text.trimmed()` dangles. Write std::string, or str().
  operator const std::string&() const noexcept { return text_; }
  const char* c_str() const noexcept { return text_.c_str(); }
  const char* data() const noexcept { return text_.data(); }

  std::size_t size() const noexcept { return text_.size(); }
  bool empty() const noexcept { return text_.empty(); }
  bool isEmpty() const noexcept { return empty(); }
  void clear() noexcept { text_.clear(); }
  void reserve(std::size_t bytes) { text_.reserve(bytes); }

  /// The byte at `position`, which must be below size().
  char operator[](std::size_t position) const { return text_[position]; }

  /// The same. Throws std::out_of_range, "SwString::at: position 5 is not below the size 5", if it is not.
  char at(std::size_t position) const;

  /// Bytes are added at the end. `bytes` may be null only if `length` is 0.
  SwString& append(const SwString& other);
  SwString& append(const char* bytes, std::size_t length);
  SwString& append(std::size_t count, char byte);
  SwString& operator+=(const SwString& other) { return append(other); }
  SwString& operator+=(char byte) { return append(1, byte); }
  SwString operator+(const SwString& other) const;
  friend SwString operator+(const std::string& left, const SwString& right) { return left + right.text_; }

  /// Of a char alone: other numbers would silently become one byte.
  template <typename T, std::enable_if_t<std::is_same_v<T, char>, int> = 0>
  SwString operator+(T byte) const {
    return text_ + byte;
  }
  template <typename T, std::enable_if_t<std::is_same_v<T, char>, int> = 0>
  friend SwString operator+(T byte, const SwString& right) {
    return byte + right.text_;
  }

  /// The string without the leading and trailing bytes space, tab, line feed and carriage return. Vertical
  /// tab and form feed stay.
  SwString trimmed() const;

  /// The bytes from `position` on, `length` of them. Empty if `position` is negative or not below size(). A
  /// negative `length`, or one that reaches past the end, means the rest of the string.
  SwString mid(int position, int length) const;

  /// A copy in which `value` replaces the first '%' that is followed by a decimal digit, together with that
  /// one digit; an unchanged copy if there is none. The digit's value does not matter: "%2 %1" is filled from
  /// the left, and of "%10" the '0' remains. Chain calls to fill several places.
  SwString arg(const SwString& value) const;

  /// The parts between separators, empty parts included, except that nothing follows a last separator that
  /// ends the string: "a,,b" has three parts, "a,b," has two, "" has none.
  std::vector<SwString> split(char separator) const;

  /// The string as a 32-bit number. Surrounding blanks and all underscores are dropped first, so "1_000" is
  /// 1000. Accepted are binary ("0b101"), hexadecimal ("0x2A"), octal ("052") and decimal literals with an
  /// optional sign; bytes after the number are ignored, except after a binary one. Success sets *ok to true.
  /// Failure (no number, or outside the 32-bit range) sets *ok to false, gives 0 and writes "Invalid int
  /// conversion in SwString: " and this string to standard error. `ok` may be null.
  int toInt(bool* ok) const;

  /// The string as a double, written to `out`; false, with `out` untouched and no message, if it is none.
  /// Blanks and underscores are dropped as in toInt. A text with '.', 'e' or 'E' is read as a floating-point
  /// number; any other as a binary literal or a 64-bit integer of toInt's forms, and if it is neither (or too
  /// large for 64 bits), as a floating-point number after all. Bytes after the number are ignored. A
  /// floating-point number too large or too small for a double is refused, and so is a binary literal of more
  /// than 64 bits.
  bool parseNumericDouble(double& out) const;

  /// The number of parseNumericDouble in single precision (beyond its range: infinity). If there is none, 0,
  /// and "Invalid float conversion in SwString: " with this string goes to standard error.
  float toFloat() const;

  /// The number of parseNumericDouble. If there is none, 0, and "Invalid double conversion in SwString: "
  /// with this string goes to standard error.
  double toDouble() const;

  /// This string encrypted for `key`, as base64 without line breaks. The cipher is AES-256 in ECB mode, with
  /// all that it does not hide (see SwCrypto): equal strings give equal cipher text. A key of exactly 32
  /// bytes is the AES key itself; any other, the empty one included, stands for its SHA-256 digest, which
  /// does not make a short key harder to guess. The empty string gives one block, 24 characters.
  ///
  /// On a failure, want of memory included, "Encryption error: " and the reason go to standard error and the
  /// result is empty; std::bad_alloc is thrown only if there is no memory for that message. The copies of the
  /// key and of the plain text that are made on the way are wiped. Threads: any number of calls at a time.
  SwString encryptAES(const SwString& key) const;

  /// What encryptAES made this string from; `key` counts as there. (Not const, but the string stays as it
  /// is.)
  ///
  /// Base64 is read up to the first byte that is not of its alphabet, '=' included, and the rest is ignored,
  /// so a line break ends the data. A wrong key is not detected: the bytes that come out are mostly no text
  /// and are returned whole, because padding is removed only if it is well formed.
  ///
  /// If there is no data, or it does not end at a block of 16 bytes, or OpenSSL fails, "Decryption error: "
  /// and the reason go to standard error and the result is empty. Throws std::bad_alloc if there is no memory
  /// for the result or the message. The copies of the key and of the plain text that are made on the way are
  /// wiped.
  SwString decryptAES(const SwString& key);

  /// Bytes are ordered as unsigned numbers.
  friend bool operator==(const SwString& a, const SwString& b) noexcept { return a.text_ == b.text_; }
  friend bool operator!=(const SwString& a, const SwString& b) noexcept { return a.text_ != b.text_; }
  friend bool operator<(const SwString& a, const SwString& b) noexcept { return a.text_ < b.text_; }

  /// Writes the bytes as a std::string is written, with the stream's width and fill.
  friend SW_CORE_EXPORT std::ostream& operator<<(std::ostream& out, const SwString& text);

 private:
  std::string text_;
};

/// That of the std::string with the same bytes.
template <>
struct std::hash<SwString> {
  std::size_t operator()(const SwString& text) const noexcept { return std::hash<std::string>()(text.str()); }
};
