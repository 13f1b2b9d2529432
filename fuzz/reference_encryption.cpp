#include "fuzz/reference_encryption.h"

#include <openssl/evp.h>
#include <openssl/sha.h>

#include <cstddef>
#include <memory>

#include "fuzz/fuzz_target.h"
#include "test_support/scene.h"

namespace reference {
namespace {

const std::string kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

void appendBits(std::string& bits, unsigned value, unsigned count) {
  for (unsigned bit = count; bit > 0; --bit) bits += (value >> (bit - 1) & 1U) != 0 ? '1' : '0';
}

unsigned valueOf(const std::string& bits) {
  unsigned value = 0;
  for (const char bit : bits) value = value * 2 + (bit == '1' ? 1U : 0U);
  return value;
}

const unsigned char* unsignedBytes(const std::string& bytes) {
  return reinterpret_cast<const unsigned char*>(bytes.data());
}

unsigned char* unsignedBytes(std::string& bytes) {
  return reinterpret_cast<unsigned char*>(bytes.data());
}

std::string runAes(const std::string& bytes, const std::string& aesKey, bool encrypt) {
  const EVP_CIPHER* cipher = aesKey.size() == 16   ? EVP_aes_128_ecb()
                             : aesKey.size() == 24 ? EVP_aes_192_ecb()
                                                   : EVP_aes_256_ecb();
  const std::unique_ptr<EVP_CIPHER_CTX, void (*)(EVP_CIPHER_CTX*)> context(EVP_CIPHER_CTX_new(),
                                                                           EVP_CIPHER_CTX_free);
  std::string out(bytes.size() + 32, '\0');
  int updated = 0;
  int finished = 0;
  const bool ok = EVP_CipherInit_ex(context.get(), cipher, nullptr, unsignedBytes(aesKey), nullptr,
                                    encrypt ? 1 : 0) == 1 &&
                  EVP_CIPHER_CTX_set_padding(context.get(), encrypt ? 1 : 0) == 1 &&
                  EVP_CipherUpdate(context.get(), unsignedBytes(out), &updated, unsignedBytes(bytes),
                                   static_cast<int>(bytes.size())) == 1 &&
                  EVP_CipherFinal_ex(context.get(), unsignedBytes(out) + updated, &finished) == 1;
  fuzz::check(ok, "the reference's AES failed");
  out.resize(static_cast<std::size_t>(updated + finished));
  return out;
}

std::string aesKeyFor(const std::string& key) {
  if (key.size() == 32) return key;
  std::string digest(SHA256_DIGEST_LENGTH, '\0');
  SHA256(unsignedBytes(key), key.size(), unsignedBytes(digest));
  return digest;
}

}  // namespace

std::string base64Encode(const std::string& bytes) {
  return scene::base64({bytes.begin(), bytes.end()});
}

std::string base64Decode(const std::string& text) {
  std::string bits;
  for (const char byte : text) {
    const std::size_t value = kAlphabet.find(byte);
    if (value == std::string::npos) break;
    appendBits(bits, static_cast<unsigned>(value), 6);
  }
  std::string bytes;
  for (std::size_t at = 0; at + 8 <= bits.size(); at += 8) {
    bytes += static_cast<char>(static_cast<unsigned char>(valueOf(bits.substr(at, 8))));
  }
  return bytes;
}

std::string aesEncrypt(const std::string& bytes, const std::string& aesKey) {
  return runAes(bytes, aesKey, true);
}

std::string aesDecrypt(const std::string& bytes, const std::string& aesKey) {
  return runAes(bytes, aesKey, false);
}

std::string encrypt(const std::string& text, const std::string& key) {
  return base64Encode(aesEncrypt(text, aesKeyFor(key)));
}

std::string decrypt(const std::string& text, const std::string& key, std::string& diagnostics) {
  const std::string bytes = base64Decode(text);
  if (bytes.size() % 16 != 0) {
    diagnostics += "Decryption error: Invalid data size for AES-ECB (must be multiple of 16).\n";
    return "";
  }
  if (bytes.empty()) {
    diagnostics += "Decryption error: Invalid data: empty.\n";
    return "";
  }
  const std::string plain = aesDecrypt(bytes, aesKeyFor(key));
  const auto count = static_cast<std::size_t>(static_cast<unsigned char>(plain.back()));
  const bool padded =
      count >= 1 && count <= 16 && plain.substr(plain.size() - count) == std::string(count, plain.back());
  return padded ? plain.substr(0, plain.size() - count) : plain;
}

}  // namespace reference
