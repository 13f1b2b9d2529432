#pragma once

#include <string>

#include "core/SwString.h"
#include "src/ascii.h"

/// The state of one parse: a text, the position in it and the first error. The position and the error are the
/// caller's; a position past the end is moved to the end.
class SwJsonCursor {
 public:
  SwJsonCursor(const SwString& json, unsigned long& index, SwString& errorMessage);

  const std::string& text() const noexcept { return json_.str(); }
  unsigned long index() const noexcept { return index_; }
  bool atEnd() const noexcept { return index_ == text().size(); }
  unsigned long remaining() const noexcept { return text().size() - index_; }
  bool failed() const noexcept { return !errorMessage_.empty(); }

  /// The byte at the position; NUL at the end. A NUL may also be a byte of the text.
  char peek() const noexcept { return text().c_str()[index_]; }

  /// Moves forward; there must be as many bytes.
  void advance(unsigned long bytes = 1) noexcept { index_ += bytes; }

  /// Moves past the byte if it is the next one.
  bool skip(char byte) noexcept {
    if (atEnd() || peek() != byte) return false;
    advance();
    return true;
  }

  void skipSpace() noexcept {
    while (ascii::isSpace(peek())) advance();
  }

  /// Moves past the digits at the position; false if there is none.
  bool skipDigits() noexcept {
    const unsigned long start = index_;
    while (ascii::isDigit(peek())) advance();
    return index_ != start;
  }

  /// Records an error at the position or at `index`; of several the first stays.
  void fail(const char* message) { fail(message, index_); }
  void fail(const char* message, unsigned long index);

 private:
  const SwString& json_;
  unsigned long& index_;
  SwString& errorMessage_;
};

/// What SwJsonDocument::reportError does.
void reportJsonError(SwString& errorMessage, const SwString& json, unsigned long index,
                     const std::string& message);
