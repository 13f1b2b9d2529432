#pragma once

#include <string>
#include <utility>

#include "core/SwString.h"
#include "src/ascii.h"

/// The state of one parse: a text, the position in it and the first error. The position and the error are the
/// caller's; a position past the end is moved to the end. The caller's position follows when the cursor dies.
class SwJsonCursor {
 public:
  SwJsonCursor(const SwString& json, unsigned long& index, SwString& errorMessage);
  SwJsonCursor(const SwJsonCursor&) = delete;
  SwJsonCursor& operator=(const SwJsonCursor&) = delete;
  ~SwJsonCursor() { callersIndex_ = index(); }

  const std::string& text() const noexcept { return json_.str(); }
  unsigned long index() const noexcept { return static_cast<unsigned long>(at_ - start_); }
  bool atEnd() const noexcept { return at_ == end_; }
  unsigned long remaining() const noexcept { return static_cast<unsigned long>(end_ - at_); }
  bool failed() const noexcept { return !errorMessage_.empty(); }

  /// The bytes from the position on. After the text stands a NUL, which may also be a byte of it.
  const char* at() const noexcept { return at_; }
  char peek() const noexcept { return *at_; }

  /// Moves forward, to `to` or by as many bytes as there must be.
  void moveTo(const char* to) noexcept { at_ = to; }
  void advance(unsigned long bytes = 1) noexcept { at_ += bytes; }

  /// Moves past the byte, which is not NUL, if it is the next one.
  bool skip(char byte) noexcept {
    if (peek() != byte) return false;
    advance();
    return true;
  }

  void skipSpace() noexcept {
    const char* at = at_;
    while (ascii::isSpace(*at)) ++at;
    at_ = at;
  }

  /// Moves past the digits at the position; false if there is none.
  bool skipDigits() noexcept {
    const char* at = at_;
    while (ascii::isDigit(*at)) ++at;
    return std::exchange(at_, at) != at;
  }

  /// Records an error at the position or at `at`; of several the first stays.
  void fail(const char* message) { fail(message, at_); }
  void fail(const char* message, const char* at);

 private:
  const SwString& json_;
  unsigned long& callersIndex_;
  SwString& errorMessage_;
  // In the text itself, so that reading a byte takes one load.
  const char* start_;
  const char* end_;
  const char* at_;
};

/// What SwJsonDocument::reportError does.
void reportJsonError(SwString& errorMessage, const SwString& json, unsigned long index,
                     const std::string& message);
