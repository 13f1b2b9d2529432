#include "core/SwCrypto.h"

#include <openssl/evp.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <stdexcept>

#include "OpenSslErrorMark.h"
#include "SecretBytes.h"

namespace {

constexpr std::size_t kBlockSize = 16;

// OpenSSL counts in int; longer data goes through in pieces of this many bytes, which are whole blocks.
constexpr std::size_t kPieceSize = std::size_t{1} << 30;

struct CipherDeleter {
  void operator()(EVP_CIPHER* cipher) const noexcept { EVP_CIPHER_free(cipher); }
};
struct ContextDeleter {
  void operator()(EVP_CIPHER_CTX* context) const noexcept { EVP_CIPHER_CTX_free(context); }
};

bool isKeySize(std::size_t size) {
  return size == 16 || size == 24 || size == 32;
}

const char* cipherName(std::size_t keySize) {
  switch (keySize) {
    case 16:
      return "AES-128-ECB";
    case 24:
      return "AES-192-ECB";
    case 32:
      return "AES-256-ECB";
    default:
      // No size that isKeySize lets through comes here. It guards the day when a size is added there alone:
      // the caller would otherwise get another cipher than the key asks for.
      throw std::invalid_argument("Invalid AES key size.");
  }
}

SecretBytes padded(const std::vector<unsigned char>& data) {
  const std::size_t padding = kBlockSize - data.size() % kBlockSize;
  SecretBytes result(data.size() + padding, static_cast<unsigned char>(padding));
  std::copy(data.begin(), data.end(), result.data());
  return result;
}

// Runs all of `in` through the cipher. Gives the number of bytes written to `out`, which has room for a block
// more than `in` has; 0 with `ok` false if OpenSSL fails.
std::size_t transform(EVP_CIPHER_CTX& context, const std::vector<unsigned char>& in, unsigned char* out,
                      bool& ok) {
  std::size_t produced = 0;
  int length = 0;
  for (std::size_t at = 0; at < in.size(); at += kPieceSize) {
    const int piece = static_cast<int>(std::min(kPieceSize, in.size() - at));
    ok = EVP_CipherUpdate(&context, out + produced, &length, in.data() + at, piece) == 1;
    if (!ok) return 0;
    produced += static_cast<std::size_t>(length);
  }
  ok = EVP_CipherFinal_ex(&context, out + produced, &length) == 1;
  return ok ? produced + static_cast<std::size_t>(length) : 0;
}

// `data` consists of whole blocks.
std::vector<unsigned char> runCipher(const std::vector<unsigned char>& data,
                                     const std::vector<unsigned char>& key, bool encrypt) {
  const OpenSslErrorMark mark;
  // Fetched, not taken from EVP_aes_256_ecb and the like: those never fail, whatever providers the host has.
  const std::unique_ptr<EVP_CIPHER, CipherDeleter> cipher(
      EVP_CIPHER_fetch(nullptr, cipherName(key.size()), nullptr));
  if (!cipher) throw std::runtime_error("EVP AES cipher unavailable.");
  const std::unique_ptr<EVP_CIPHER_CTX, ContextDeleter> context(EVP_CIPHER_CTX_new());
  if (!context) throw std::runtime_error("EVP_CIPHER_CTX_new failed.");

  SecretBytes out(data.size() + kBlockSize);
  std::size_t produced = 0;
  bool ok =
      EVP_CipherInit_ex2(context.get(), cipher.get(), key.data(), nullptr, encrypt ? 1 : 0, nullptr) == 1 &&
      EVP_CIPHER_CTX_set_padding(context.get(), 0) == 1;
  if (ok) produced = transform(*context, data, out.data(), ok);
  if (!ok) throw std::runtime_error(encrypt ? "EVP AES encrypt failed." : "EVP AES decrypt failed.");

  std::vector<unsigned char> result = out.release();
  result.resize(produced);
  return result;
}

}  // namespace

std::vector<unsigned char> SwCrypto::cryptAES_ECB(const std::vector<unsigned char>& data,
                                                  const std::vector<unsigned char>& key, bool encrypt) {
  if (!isKeySize(key.size())) {
    throw std::invalid_argument("Invalid AES key size. Key must be 16, 24, or 32 bytes.");
  }
  if (encrypt) return runCipher(padded(data).bytes(), key, encrypt);
  if (data.size() % kBlockSize != 0) {
    throw std::runtime_error("Invalid data size for AES-ECB (must be multiple of 16).");
  }
  return runCipher(data, key, encrypt);
}
