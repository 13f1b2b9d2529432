// The cipher texts were made with the openssl command line, for a key K that is not 32 bytes long as
//
//   printf TEXT | openssl enc -aes-256-ecb -base64 -A -K "$(printf K | sha256sum | cut -d' ' -f1)"
//
// and for one of 32 bytes with their hexadecimal digits after -K. With -nopad, TEXT is a whole block, padding
// included.

#include <gtest/gtest.h>
#include <openssl/evp.h>

#include <string>
#include <utility>

#include "core/SwString.h"
#include "test_support/StderrCapture.h"

namespace {

const SwString kKey31 = "0123456789abcdef0123456789abcde";
const SwString kKey32 = "0123456789abcdef0123456789abcdef";
const SwString kKey33 = "0123456789abcdef0123456789abcdef0";

const SwString kHello = "LdfwP4C6o/zvbXYyBAItdA==";
const SwString kThirtyTwoBytes = "pg+VRKYMIPo8oDyDTOhXFkOtwA0agQSkstYshkRuzeQ/PXZvzfd99WJ4cXTumADT";

struct Vector {
  SwString text;
  SwString cipherText;
};

/// Under "key". The base64 texts end in "==", "=" and without '=', and hold '+' and '/'.
const Vector kVectors[] = {
    {"", "Pz12b833ffVieHF07pgA0w=="},
    {"hello", kHello},
    {SwString("a\0b", 3), "7kVqcKpvk52yiHCTbJJL5g=="},
    {"0.1", "EoVxbXoRbZUAod3y+R1iJw=="},
    {"exactly 16 bytes", "mTKOdd0dqN3Txa358bAO3T89dm/N9331YnhxdO6YANM="},
    {"thirty-two bytes of plain text..", kThirtyTwoBytes},
    {"a longer text that needs more than one block",
     "hcROnEmZwEwJeEzqwICdl5N5lEB6t7rBn9a8GU1/nfQF79FuCQp0rBiOTdpdoyCq"},
};

SwString decrypted(SwString cipherText, const SwString& key = "key") {
  const StderrCapture captured;
  const SwString text = cipherText.decryptAES(key);
  EXPECT_EQ(captured.text(), "");
  return text;
}

void expectDecryptionError(SwString cipherText, const std::string& reason) {
  const StderrCapture captured;
  EXPECT_EQ(cipherText.decryptAES("key"), "");
  EXPECT_EQ(captured.text(), "Decryption error: " + reason + "\n");
  EXPECT_EQ(captured.writes(), 1);
  EXPECT_GE(captured.flushes(), 1);
}

constexpr const char* kInvalidSize = "Invalid data size for AES-ECB (must be multiple of 16).";
constexpr const char* kNoData = "Invalid data: empty.";

}  // namespace

TEST(SwStringEncryption, EncryptsAndDecryptsAsTheOpensslCommandDoes) {
  for (const auto& [text, cipherText] : kVectors) {
    EXPECT_EQ(text.encryptAES("key"), cipherText);
    EXPECT_EQ(decrypted(cipherText), text);
  }
}

TEST(SwStringEncryption, AKeyOf32BytesIsTakenAsItStandsAndEveryOtherIsHashed) {
  const std::pair<SwString, const char*> cases[] = {{kKey32, "pZwJZBLuy3mDACEQT4YTBw=="},
                                                    {kKey31, "ovR6nxVUGpU4TpXpkyx0PA=="},
                                                    {kKey33, "sdCnbt71HnAf+uksZ5Eeaw=="},
                                                    {"", "VdlNFiXvcBnHSRQimcErSQ=="}};
  for (const auto& [key, cipherText] : cases) {
    EXPECT_EQ(SwString("hello").encryptAES(key), cipherText);
    EXPECT_EQ(decrypted(cipherText, key), "hello");
  }
}

TEST(SwStringEncryption, EveryByteAndLengthComesBack) {
  std::string text;
  for (int i = 0; i < 600; ++i) {
    EXPECT_EQ(decrypted(SwString(text).encryptAES("key")).str(), text) << i;
    text += static_cast<char>(i * 7);
  }
}

TEST(SwStringEncryption, DecryptingLeavesTheCipherTextAsItIs) {
  SwString cipherText = kHello;
  EXPECT_EQ(cipherText.decryptAES("key"), "hello");
  EXPECT_EQ(cipherText, kHello);
}

TEST(SwStringEncryption, AWrongKeyYieldsGarbageWholeAndNoError) {
  EXPECT_EQ(decrypted(kHello, "other"), "\xcd\x6a\xc1\xa0\x74\x5f\x21\x7e\x9f\x6d\x96\xb4\xc5\xcc\xa8\x1c");
  EXPECT_EQ(decrypted(kHello, "wrong1"), "\xdd\x9f\x23\x59\x41\x6b\x59\xeb\x31\xcf\x86\xf9\x74\xb7\x98\x0c");
}

TEST(SwStringEncryption, WellFormedPaddingIsTakenOffAndAnyOtherKept) {
  EXPECT_EQ(decrypted("G+vWC3tPZVXO/JCaLUQxDQ=="), "ABCDEFGHIPQRSTU") << "one byte of 1";
  EXPECT_EQ(decrypted("QGew/72uHwY36mihGDTllg=="), "ABCDEFGHIPQRS") << "three bytes of 3";
  EXPECT_EQ(decrypted("Pz12b833ffVieHF07pgA0w=="), "") << "sixteen bytes of 16";
  EXPECT_EQ(decrypted("ZoAUzHyYvLk1B/SFiJls+w=="), SwString("ABCDEFGHIPQRSTU\0", 16)) << "a last byte of 0";
  EXPECT_EQ(decrypted("lhxEEKbYP2hkfQ9pkYmuTA=="), "ABCDEFGHIPQRSTU\x11") << "a last byte of 17";
  EXPECT_EQ(decrypted("0hdM52TIhx8ndg/IFIKSoA=="), "ABCDEFGHIPQRS\x01\x03\x03") << "two bytes of 3";
  EXPECT_EQ(decrypted("FG5XQdtjPRx+W/Hr4yDT9w=="), SwString(std::string(15, '\0') + '\x10'))
      << "one byte of 16";
  // Two blocks that end in seventeen bytes of 17.
  EXPECT_EQ(decrypted("lhxEEKbYP2hkfQ9pkYmuTCKviXINv3bHxEDiUPSzP+8=").size(), 32U);
}

TEST(SwStringEncryption, PlainTextAndNothingAreErrors) {
  for (const char* text : {"42", "true"}) expectDecryptionError(text, kInvalidSize);
  for (const std::string& text : {std::string(), std::string("A"), std::string("="), "?" + kHello.str()}) {
    expectDecryptionError(text, kNoData);
  }
}

TEST(SwStringEncryption, CipherTextCutShortIsAnErrorOrEndsAtTheBlock) {
  expectDecryptionError(kHello.mid(0, 21), kInvalidSize);
  EXPECT_EQ(decrypted(kHello.mid(0, 22)), "hello") << "22 characters hold the 16 bytes";
  expectDecryptionError(kThirtyTwoBytes.mid(0, 62), kInvalidSize);
  EXPECT_EQ(decrypted(kThirtyTwoBytes.mid(0, 43)), "thirty-two bytes of plain text..")
      << "without its padding";
  EXPECT_EQ(decrypted(kThirtyTwoBytes.mid(0, 22)), "thirty-two bytes");
}

TEST(SwStringEncryption, EveryByteOutsideTheAlphabetEndsTheData) {
  const std::string alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  for (int value = 0; value < 256; ++value) {
    const char byte = static_cast<char>(value);
    if (alphabet.find(byte) != std::string::npos) continue;
    EXPECT_EQ(decrypted(kThirtyTwoBytes.mid(0, 22) + std::string(1, byte) + "AAAA"), "thirty-two bytes")
        << value;
  }
}

TEST(SwStringEncryption, TheBase64OfOtherAlphabetsIsInvalid) {
  // The fourth group holds the first '/' of the cipher text of "hello".
  expectDecryptionError("LdfwP4C6o_zvbXYyBAItdA==", kInvalidSize);
}

TEST(SwStringEncryption, WithoutAProviderTheReasonNamesTheDigestOrTheCipher) {
  const StderrCapture captured;
  SwString cipherText = kHello;
  ASSERT_EQ(EVP_set_default_properties(nullptr, "provider=none"), 1);
  const SwString hashedKey = SwString("hello").encryptAES("key");
  const SwString rawKey = SwString("hello").encryptAES(kKey32);
  const SwString decryptedHashedKey = cipherText.decryptAES("key");
  const SwString decryptedRawKey = cipherText.decryptAES(kKey32);
  ASSERT_EQ(EVP_set_default_properties(nullptr, ""), 1);
  EXPECT_EQ(hashedKey + rawKey + decryptedHashedKey + decryptedRawKey, "");
  EXPECT_EQ(captured.text(),
            "Encryption error: EVP sha algo unavailable.\n"
            "Encryption error: EVP AES cipher unavailable.\n"
            "Decryption error: EVP sha algo unavailable.\n"
            "Decryption error: EVP AES cipher unavailable.\n");
}
