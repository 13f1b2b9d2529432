#include "src/AesEcb.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <stdexcept>

#include "src/OpenSslErrorMark.h"

namespace {

constexpr std::size_t kBlockSize = 16;

/// OpenSSL counts in int; longer data goes through in pieces of this many bytes, which are whole blocks.
constexpr std::size_t kPieceSize = std::size_t{1} << 30;

struct CipherDeleter {
  void operator()(EVP_CIPHER* cipher) const noexcept { EVP_CIPHER_free(cipher); }
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

}  // namespace

AesEcb::AesEcb(const std::vector<unsigned char>& key, Direction direction)
    : key_(key), direction_(direction) {
  if (!isKeySize(key.size())) {
    throw std::invalid_argument("Invalid AES key size. Key must be 16, 24, or 32 bytes.");
  }
}

SecretBytes AesEcb::padded(const void* data, std::size_t size) {
  const std::size_t padding = kBlockSize - size % kBlockSize;
  SecretBytes result(size + padding, static_cast<unsigned char>(padding));
  if (size != 0) std::memcpy(result.data(), data, size);
  return result;
}

void AesEcb::run(SecretBytes& blocks) {
  if (blocks.size() % kBlockSize != 0) {
    throw std::runtime_error("Invalid data size for AES-ECB (must be multiple of 16).");
  }
  const OpenSslErrorMark mark;
  if ((context_ ? restart() : start()) && transform(blocks)) return;
  context_.reset();
  throw std::runtime_error(direction_ == Direction::Encrypt ? "EVP AES encrypt failed."
                                                            : "EVP AES decrypt failed.");
}

bool AesEcb::start() {
  // Fetched, not taken from EVP_aes_256_ecb and the like: those never fail, whatever providers the host has.
  const std::unique_ptr<EVP_CIPHER, CipherDeleter> cipher(
      EVP_CIPHER_fetch(nullptr, cipherName(key_.size()), nullptr));
  if (!cipher) throw std::runtime_error("EVP AES cipher unavailable.");
  context_.reset(EVP_CIPHER_CTX_new());
  if (!context_) throw std::runtime_error("EVP_CIPHER_CTX_new failed.");
  const int encrypt = direction_ == Direction::Encrypt ? 1 : 0;
  return EVP_CipherInit_ex2(context_.get(), cipher.get(), key_.data(), nullptr, encrypt, nullptr) == 1 &&
         EVP_CIPHER_CTX_set_padding(context_.get(), 0) == 1;
}

/// Key, direction and padding stay as they are.
bool AesEcb::restart() {
  return EVP_CipherInit_ex2(context_.get(), nullptr, nullptr, nullptr, -1, nullptr) == 1;
}

bool AesEcb::transform(SecretBytes& blocks) {
  unsigned char* const data = blocks.data();
  std::size_t produced = 0;
  int length = 0;
  for (std::size_t at = 0; at < blocks.size(); at += kPieceSize) {
    const int piece = static_cast<int>(std::min(kPieceSize, blocks.size() - at));
    if (EVP_CipherUpdate(context_.get(), data + produced, &length, data + at, piece) != 1) return false;
    produced += static_cast<std::size_t>(length);
  }
  return EVP_CipherFinal_ex(context_.get(), data + produced, &length) == 1;
}
