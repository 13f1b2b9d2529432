#pragma once

#include <openssl/crypto.h>

#include <cstddef>
#include <utility>
#include <vector>

/// Bytes that are overwritten before their memory is given back. Their number is fixed: growing would leave a
/// copy of them behind.
class SecretBytes {
 public:
  explicit SecretBytes(std::size_t size, unsigned char fill = 0) : bytes_(size, fill) {}
  explicit SecretBytes(std::vector<unsigned char> bytes) noexcept : bytes_(std::move(bytes)) {}
  SecretBytes(SecretBytes&& other) noexcept : bytes_(other.release()) {}
  SecretBytes& operator=(SecretBytes&&) = delete;
  ~SecretBytes() { OPENSSL_cleanse(bytes_.data(), bytes_.size()); }

  const std::vector<unsigned char>& bytes() const noexcept { return bytes_; }
  unsigned char* data() noexcept { return bytes_.data(); }
  std::size_t size() const noexcept { return bytes_.size(); }

  /// Hands the bytes, and the duty to wipe them, to the caller.
  std::vector<unsigned char> release() noexcept { return std::exchange(bytes_, {}); }

 private:
  std::vector<unsigned char> bytes_;
};
