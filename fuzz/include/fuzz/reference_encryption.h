#pragma once

#include <string>

/// String encryption once more, to compare with: OpenSSL's own padding, base64 by way of a row of bits.
/// Nothing here calls the library. Byte strings are std::string throughout.
namespace reference {

std::string base64Encode(const std::string& bytes);

/// Up to the first byte that is not of the alphabet; bytes that are complete by then.
std::string base64Decode(const std::string& text);

/// AES-ECB under a key of 16, 24 or 32 bytes. Encrypting pads; `bytes` to be decrypted are whole blocks, and
/// their padding stays.
std::string aesEncrypt(const std::string& bytes, const std::string& aesKey);
std::string aesDecrypt(const std::string& bytes, const std::string& aesKey);

/// SwString::encryptAES.
std::string encrypt(const std::string& text, const std::string& key);

/// SwString::decryptAES; appends the line that goes to standard error, if any, to `diagnostics`.
std::string decrypt(const std::string& text, const std::string& key, std::string& diagnostics);

}  // namespace reference
