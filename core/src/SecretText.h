#pragma once

#include <openssl/crypto.h>

#include <string>
#include <utility>

#include "core/SwString.h"

/// Overwrites a text with all the memory that it has, and leaves it empty.
inline void wipe(std::string& text) noexcept {
  text.resize(text.capacity());
  OPENSSL_cleanse(text.data(), text.size());
  text.clear();
}

/// A text that is overwritten before its memory is given back, unless it was moved out.
class SecretText {
 public:
  explicit SecretText(SwString text) noexcept : text_(std::move(text)) {}
  SecretText(SecretText&&) noexcept = default;
  SecretText& operator=(SecretText&&) = delete;
  ~SecretText() {
    std::string bytes = std::move(text_).str();
    wipe(bytes);
  }

  SwString& text() noexcept { return text_; }

 private:
  SwString text_;
};
