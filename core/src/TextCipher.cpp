#include "src/TextCipher.h"

#include <openssl/evp.h>

#include <algorithm>
#include <cstddef>
#include <exception>
#include <memory>
#include <stdexcept>
#include <utility>
#include <vector>

#include "core/diagnostics.h"
#include "src/OpenSslErrorMark.h"
#include "src/cipher_base64.h"

namespace {

constexpr std::size_t kKeySize = 32;

struct DigestDeleter {
  void operator()(EVP_MD* digest) const noexcept { EVP_MD_free(digest); }
};
struct ContextDeleter {
  void operator()(EVP_MD_CTX* context) const noexcept { EVP_MD_CTX_free(context); }
};

SecretBytes sha256(const std::string& bytes) {
  const OpenSslErrorMark mark;
  // Fetched, not taken from EVP_sha256, which never fails, whatever providers the host has.
  const std::unique_ptr<EVP_MD, DigestDeleter> digest(EVP_MD_fetch(nullptr, "SHA2-256", nullptr));
  if (!digest) throw std::runtime_error("EVP sha algo unavailable.");
  const std::unique_ptr<EVP_MD_CTX, ContextDeleter> context(EVP_MD_CTX_new());
  if (!context) throw std::runtime_error("EVP_MD_CTX_new failed.");

  SecretBytes result(static_cast<std::size_t>(EVP_MD_get_size(digest.get())));
  const bool ok = EVP_DigestInit_ex2(context.get(), digest.get(), nullptr) == 1 &&
                  EVP_DigestUpdate(context.get(), bytes.data(), bytes.size()) == 1 &&
                  EVP_DigestFinal_ex(context.get(), result.data(), nullptr) == 1;
  if (!ok) throw std::runtime_error("EVP digest operation failed.");
  return result;
}

/// The AES-256 key that a caller's key stands for: its own bytes if it has exactly 32, otherwise their
/// SHA-256 digest.
SecretBytes deriveAesKey(const std::string& key) {
  if (key.size() != kKeySize) return sha256(key);
  return SecretBytes(std::vector<unsigned char>(key.begin(), key.end()));
}

/// The number of bytes before the padding; all of them if the end is not well-formed padding. `bytes` is not
/// empty.
std::size_t sizeWithoutPadding(const std::vector<unsigned char>& bytes) {
  const unsigned char padding = bytes.back();
  if (padding < 1 || padding > 16 || padding > bytes.size()) return bytes.size();
  const bool wellFormed = std::all_of(bytes.end() - padding, bytes.end(),
                                      [padding](unsigned char byte) { return byte == padding; });
  return wellFormed ? bytes.size() - padding : bytes.size();
}

}  // namespace

AesEcb& TextCipher::cipher(AesEcb::Direction direction) {
  if (!aesKey_) aesKey_.emplace(deriveAesKey(key_));
  std::optional<AesEcb>& cipher = direction == AesEcb::Direction::Encrypt ? encryption_ : decryption_;
  if (!cipher) cipher.emplace(aesKey_->bytes(), direction);
  return *cipher;
}

// The lines are written after the handlers, because a thread that is cancelled while it writes could not be
// unwound through one.

SwString TextCipher::encrypt(const std::string& plainText) {
  std::string failure;
  try {
    AesEcb& encryption = cipher(AesEcb::Direction::Encrypt);
    SecretBytes blocks = AesEcb::padded(plainText.data(), plainText.size());
    encryption.run(blocks);
    return cipher_base64::encode(blocks.bytes());
  } catch (const std::exception& error) {
    failure = std::string("Encryption error: ") + error.what();
  }
  sw_diagnostics::writeLine(std::move(failure));
  return SwString();
}

SwString TextCipher::decrypt(std::string_view cipherText) {
  std::optional<SecretBytes> plain;
  std::string failure;
  try {
    AesEcb& decryption = cipher(AesEcb::Direction::Decrypt);
    SecretBytes blocks(cipher_base64::decode(cipherText));
    decryption.run(blocks);
    if (blocks.size() == 0) throw std::runtime_error("Invalid data: empty.");
    plain.emplace(std::move(blocks));
  } catch (const std::exception& error) {
    failure = std::string("Decryption error: ") + error.what();
  }
  if (!plain) {
    sw_diagnostics::writeLine(std::move(failure));
    return SwString();
  }
  // Not in the try block: the text was decrypted, and want of memory for the result is no decryption error.
  return SwString(reinterpret_cast<const char*>(plain->data()), sizeWithoutPadding(plain->bytes()));
}

SwString SwString::encryptAES(const SwString& key) const {
  return TextCipher(key).encrypt(text_);
}

SwString SwString::decryptAES(const SwString& key) {
  return TextCipher(key).decrypt(text_);
}
