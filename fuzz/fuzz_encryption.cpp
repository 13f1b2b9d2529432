// Encryption against the reference. The input is a byte for the key's length, the key, and the text.

#include <stdexcept>
#include <vector>

#include "core/SwCrypto.h"
#include "core/SwString.h"
#include "fuzz/FuzzInput.h"
#include "fuzz/fuzz_target.h"
#include "fuzz/reference_encryption.h"
#include "src/cipher_base64.h"
#include "test_support/StderrCapture.h"

namespace {

std::vector<unsigned char> bytesOf(const std::string& text) {
  return std::vector<unsigned char>(text.begin(), text.end());
}

std::string textOf(const std::vector<unsigned char>& bytes) {
  return std::string(bytes.begin(), bytes.end());
}

void checkStrings(const SwString& text, const SwString& key) {
  const StderrCapture captured;
  SwString cipherText = text.encryptAES(key);
  fuzz::checkEqual(cipherText, reference::encrypt(text, key), "encryptAES");
  fuzz::checkEqual(cipherText.decryptAES(key), text, "decryptAES of encryptAES");
  fuzz::checkEqual(captured.text(), "", "standard error of a round trip");

  std::string expectedLines;
  SwString anyText = text;
  const std::string plain = reference::decrypt(text, key, expectedLines);
  fuzz::checkEqual(anyText.decryptAES(key), plain, "decryptAES of any text");
  fuzz::checkEqual(anyText, text, "decryptAES leaves the string as it is");

  // The text's own bytes as cipher text.
  SwString blocks = reference::base64Encode(text);
  const std::string decrypted = reference::decrypt(blocks, key, expectedLines);
  fuzz::checkEqual(blocks.decryptAES(key), decrypted, "decryptAES of any data");
  fuzz::checkEqual(captured.text(), expectedLines, "decryptAES's lines");
}

// Whole blocks that were encrypted without padding of their own: what they end with may look like padding,
// well formed or not.
void checkAnyPadding(const std::string& text, std::string key) {
  key.resize(32, '.');
  const std::string blocks = text.substr(0, text.size() / 16 * 16);
  const std::string encrypted = reference::aesEncrypt(blocks, key).substr(0, blocks.size());
  SwString cipherText = reference::base64Encode(encrypted);
  const StderrCapture captured;
  std::string lines;
  const std::string plain = reference::decrypt(cipherText, key, lines);
  fuzz::checkEqual(cipherText.decryptAES(key), plain, "decryptAES of any padding");
  fuzz::checkEqual(captured.text(), lines, "standard error of any padding");
}

void checkBlocks(const std::string& text, const std::string& key, bool encrypt) {
  std::string error;
  std::string result;
  try {
    result = textOf(SwCrypto::cryptAES_ECB(bytesOf(text), bytesOf(key), encrypt));
  } catch (const std::invalid_argument& invalid) {
    error = invalid.what();
    fuzz::checkEqual(error, "Invalid AES key size. Key must be 16, 24, or 32 bytes.", "the refusal of a key");
    fuzz::check(key.size() != 16 && key.size() != 24 && key.size() != 32, "a good key was refused");
    return;
  } catch (const std::runtime_error& invalid) {
    error = invalid.what();
    fuzz::checkEqual(error, "Invalid data size for AES-ECB (must be multiple of 16).", "the refusal of data");
    fuzz::check(!encrypt && text.size() % 16 != 0, "good data was refused");
    return;
  }
  fuzz::check(key.size() == 16 || key.size() == 24 || key.size() == 32, "a bad key was taken");
  fuzz::check(encrypt || text.size() % 16 == 0, "bad data was taken");
  fuzz::checkEqual(result, encrypt ? reference::aesEncrypt(text, key) : reference::aesDecrypt(text, key),
                   "cryptAES_ECB");
}

void checkBase64(const std::string& text) {
  // The memory behind the text's bytes has every bit set, so that reading it would change the last group.
  std::vector<unsigned char> bytes = bytesOf(text + "\xFF\xFF");
  bytes.resize(text.size());
  fuzz::checkEqual(cipher_base64::encode(bytes), reference::base64Encode(text), "cipher_base64::encode");
  fuzz::checkEqual(textOf(cipher_base64::decode(cipher_base64::encode(bytesOf(text)))), text,
                   "base64 there and back");
  fuzz::checkEqual(textOf(cipher_base64::decode(text)), reference::base64Decode(text),
                   "cipher_base64::decode");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzInput input(data, size);
  const std::string key = input.piece();
  const std::string text = input.rest();
  checkStrings(text, key);
  checkAnyPadding(text, key);
  checkBase64(text);
  checkBlocks(text, key, true);
  checkBlocks(text, key, false);
  checkBlocks(text.substr(0, text.size() / 16 * 16), std::string(16 + size % 3 * 8, 'k'), false);
  return 0;
}
