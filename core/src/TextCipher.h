#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "core/SwString.h"
#include "src/AesEcb.h"
#include "src/SecretBytes.h"

/// What SwString::encryptAES and decryptAES do, under one key for any number of texts, such as the values of
/// a document. The AES key is derived and the cipher set up when a text first needs them; where that fails,
/// it is tried again, and reported, for the next text.
class TextCipher {
 public:
  /// `key` must outlive this object.
  explicit TextCipher(const SwString& key) noexcept : key_(key) {}

  /// Messages, results and exceptions are those of SwString::encryptAES and decryptAES.
  SwString encrypt(const std::string& plainText);
  SwString decrypt(std::string_view cipherText);

 private:
  AesEcb& cipher(AesEcb::Direction direction);

  const SwString& key_;
  std::optional<SecretBytes> aesKey_;
  std::optional<AesEcb> encryption_;
  std::optional<AesEcb> decryption_;
};
