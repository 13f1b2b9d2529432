#pragma once

#include <cstddef>
#include <cstring>
#include <string>
#include <string_view>
#include <utility>

/// A text that is made of many short pieces. They gather in a buffer of fixed size, where appending one is a
/// few stores, and join the text in bulk.
class StagedText {
 public:
  /// The room that room() gives.
  static constexpr std::size_t kRoom = 64;

  /// Where up to kRoom bytes may be written, which endAt() then appends.
  char* room() {
    if (staged_ > sizeof(buffer_) - kRoom) whole();
    return buffer_ + staged_;
  }
  void endAt(const char* end) noexcept { staged_ = static_cast<std::size_t>(end - buffer_); }

  void append(char byte) {
    char* const at = room();
    *at = byte;
    endAt(at + 1);
  }
  void append(std::string_view piece) {
    if (piece.size() > kRoom) {
      whole() += piece;
      return;
    }
    char* const at = room();
    std::memcpy(at, piece.data(), piece.size());
    endAt(at + piece.size());
  }

  /// All that was appended. More may be added to it directly.
  std::string& whole() {
    text_.append(buffer_, staged_);
    staged_ = 0;
    return text_;
  }

 private:
  std::string text_;
  std::size_t staged_ = 0;
  char buffer_[512];
};
