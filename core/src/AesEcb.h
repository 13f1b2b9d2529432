#pragma once

#include <openssl/evp.h>

#include <cstddef>
#include <memory>
#include <vector>

#include "src/SecretBytes.h"

/// AES in ECB mode under one key in one direction. The cipher is fetched and the key set up by the first run;
/// further runs only use them. The calling thread's queue of OpenSSL errors stays as it was.
class AesEcb {
 public:
  enum class Direction { Encrypt, Decrypt };

  /// `key` must outlive this object. Throws std::invalid_argument if it is not of 16, 24 or 32 bytes.
  AesEcb(const std::vector<unsigned char>& key, Direction direction);

  /// Encrypts or decrypts whole blocks in place. Throws std::runtime_error if data to be decrypted does not
  /// end at a block or if OpenSSL fails; the next run then starts anew.
  void run(SecretBytes& blocks);

  /// A copy of `size` bytes at `data` with the padding that makes whole blocks of them: 1 to 16 bytes, each
  /// of the value of their number.
  static SecretBytes padded(const void* data, std::size_t size);

 private:
  struct ContextDeleter {
    void operator()(EVP_CIPHER_CTX* context) const noexcept { EVP_CIPHER_CTX_free(context); }
  };

  /// False if OpenSSL refuses the key or the blocks.
  bool start();
  bool restart();
  bool transform(SecretBytes& blocks);

  const std::vector<unsigned char>& key_;
  Direction direction_;
  std::unique_ptr<EVP_CIPHER_CTX, ContextDeleter> context_;
};
