#pragma once

#include <vector>

#include "core/export.h"

/// AES in ECB mode, on whole byte strings.
///
/// ECB turns each block of 16 bytes into cipher text on its own, always in the same way. It hides the bytes
/// of a block and nothing else: equal blocks give equal cipher text, so repetitions inside one text,
/// beginnings that texts share and texts that are equal can be seen, and so can the length up to a block.
/// Cipher text that was altered, or whose blocks were removed, repeated or moved, is not detected.
class SW_CORE_EXPORT SwCrypto {
 public:
  SwCrypto() = delete;

  /// Encrypts or decrypts `data` under `key`, whose length chooses the cipher: 16, 24 or 32 bytes for
  /// AES-128, AES-192 or AES-256.
  ///
  /// Encrypting pads: 1 to 16 bytes, each of the value of their number, follow the data, so a whole block
  /// follows data that ends at a block. Decrypting leaves such padding in place; taking it off is the
  /// caller's. The buffers made on the way are wiped before they are freed; the result is the caller's to
  /// wipe.
  ///
  /// Throws std::invalid_argument for another length of the key ("Invalid AES key size. Key must be 16, 24,
  /// or 32 bytes."), and std::runtime_error if data to be decrypted does not end at a block ("Invalid data
  /// size for AES-ECB (must be multiple of 16).") or if OpenSSL fails ("EVP AES cipher unavailable.",
  /// "EVP_CIPHER_CTX_new failed.", "EVP AES encrypt failed.", "EVP AES decrypt failed."), and std::bad_alloc.
  /// The calling thread's queue of OpenSSL errors stays as it was. Threads: any number of calls at a time.
  static std::vector<unsigned char> cryptAES_ECB(const std::vector<unsigned char>& data,
                                                 const std::vector<unsigned char>& key, bool encrypt);
};
