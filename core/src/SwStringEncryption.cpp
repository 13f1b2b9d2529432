// SwString's encryption.

#include <algorithm>
#include <cstddef>
#include <exception>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "SecretBytes.h"
#include "aes_key.h"
#include "base64.h"
#include "core/SwCrypto.h"
#include "core/SwString.h"
#include "core/diagnostics.h"

namespace {

SecretBytes decrypted(const std::string& cipherText, const std::string& key) {
  const SecretBytes aesKey = deriveAesKey(key);
  SecretBytes plain(SwCrypto::cryptAES_ECB(base64::decode(cipherText), aesKey.bytes(), false));
  if (plain.size() == 0) throw std::runtime_error("Invalid data: empty.");
  return plain;
}

// The number of bytes before the padding; all of them if the end is not well-formed padding. `bytes` is not
// empty.
std::size_t sizeWithoutPadding(const std::vector<unsigned char>& bytes) {
  const unsigned char padding = bytes.back();
  if (padding < 1 || padding > 16 || padding > bytes.size()) return bytes.size();
  const bool wellFormed = std::all_of(bytes.end() - padding, bytes.end(),
                                      [padding](unsigned char byte) { return byte == padding; });
  return wellFormed ? bytes.size() - padding : bytes.size();
}

}  // namespace

// The lines are written after the handlers, because a thread that is cancelled while it writes could not be
// unwound through one.

SwString SwString::encryptAES(const SwString& key) const {
  std::string failure;
  try {
    const SecretBytes aesKey = deriveAesKey(key);
    const SecretBytes plain(std::vector<unsigned char>(text_.begin(), text_.end()));
    return base64::encode(SwCrypto::cryptAES_ECB(plain.bytes(), aesKey.bytes(), true));
  } catch (const std::exception& error) {
    failure = std::string("Encryption error: ") + error.what();
  }
  sw_diagnostics::writeLine(std::move(failure));
  return SwString();
}

SwString SwString::decryptAES(const SwString& key) {
  std::optional<SecretBytes> plain;
  std::string failure;
  try {
    plain.emplace(decrypted(text_, key));
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
