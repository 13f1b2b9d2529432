#include <gtest/gtest.h>
#include <openssl/err.h>
#include <openssl/evp.h>

#include <algorithm>
#include <cstddef>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "core/SwCrypto.h"

namespace {

using Bytes = std::vector<unsigned char>;

Bytes fromHex(const std::string& hex) {
  Bytes bytes;
  for (std::size_t at = 0; at < hex.size(); at += 2) {
    bytes.push_back(static_cast<unsigned char>(std::stoi(hex.substr(at, 2), nullptr, 16)));
  }
  return bytes;
}

/// The example vectors of NIST SP 800-38A, F.1: one text of four blocks under a key of each length.
const std::string kText =
    "6bc1bee22e409f96e93d7e117393172aae2d8a571e03ac9c9eb76fac45af8e51"
    "30c81c46a35ce411e5fbc1191a0a52eff69f2445df4f9b17ad2b417be66c3710";

struct KnownAnswer {
  const char* key;
  const char* cipherText;
  // The block that the padding of a text of whole blocks becomes, as "openssl enc -aes-*-ecb" writes it.
  const char* paddingBlock;
};

const KnownAnswer k128 = {"2b7e151628aed2a6abf7158809cf4f3c",
                          "3ad77bb40d7a3660a89ecaf32466ef97f5d3d58503b9699de785895a96fdbaaf"
                          "43b1cd7f598ece23881b00e3ed0306887b0c785e27e8ad3f8223207104725dd4",
                          "a254be88e037ddd9d79fb6411c3f9df8"};
const KnownAnswer k192 = {"8e73b0f7da0e6452c810f32b809079e562f8ead2522c6b7b",
                          "bd334f1d6e45f25ff712a214571fa5cc974104846d0ad3ad7734ecb3ecee4eef"
                          "ef7afd2270e2e60adce0ba2face6444e9a4b41ba738d6c72fb16691603c18e0e",
                          "daa0af074bd8083c8a32d4fc563c55cc"};
const KnownAnswer k256 = {"603deb1015ca71be2b73aef0857d77811f352c073b6108d72d9810a30914dff4",
                          "f3eed1bdb5d2a03c064b5a7e3db181f8591ccb10d410ed26dc5ba74a31362870"
                          "b6ed21b99ca6f4f9f153e7b1beafed1d23304b7a39f9f3ff067d8d8f9e24ecc7",
                          "4c45dfb3b3b484ec35b0512dc8c1c4d6"};

template <typename Exception>
std::string messageOf(const Bytes& data, const Bytes& key, bool encrypt) {
  try {
    SwCrypto::cryptAES_ECB(data, key, encrypt);
  } catch (const Exception& error) {
    return error.what();
  }
  return "nothing thrown";
}

const Bytes kKey(32, 0x5A);

}  // namespace

TEST(SwCrypto, KnownAnswersUnderKeysOfEachLength) {
  for (const KnownAnswer& answer : {k128, k192, k256}) {
    const Bytes key = fromHex(answer.key);
    const std::string padded = std::string(answer.cipherText) + answer.paddingBlock;
    EXPECT_EQ(SwCrypto::cryptAES_ECB(fromHex(kText), key, true), fromHex(padded));
    EXPECT_EQ(SwCrypto::cryptAES_ECB(fromHex(answer.cipherText), key, false), fromHex(kText));
  }
}

TEST(SwCrypto, EncryptingPadsWithTheNumberOfPaddingBytesAndDecryptingKeepsThem) {
  for (std::size_t size = 0; size <= 33; ++size) {
    const std::size_t padding = 16 - size % 16;
    Bytes expected(size, 0xA5);
    expected.insert(expected.end(), padding, static_cast<unsigned char>(padding));
    const Bytes cipherText = SwCrypto::cryptAES_ECB(Bytes(size, 0xA5), kKey, true);
    EXPECT_EQ(cipherText.size(), size + padding) << size;
    EXPECT_EQ(SwCrypto::cryptAES_ECB(cipherText, kKey, false), expected) << size;
  }
}

TEST(SwCrypto, DecryptingNothingGivesNothing) {
  EXPECT_EQ(SwCrypto::cryptAES_ECB({}, kKey, false), Bytes());
}

TEST(SwCrypto, OtherKeyLengthsAreInvalidArguments) {
  for (const std::size_t size : {0U, 1U, 15U, 17U, 23U, 25U, 31U, 33U, 64U}) {
    for (const bool encrypt : {false, true}) {
      EXPECT_EQ(messageOf<std::invalid_argument>(Bytes(16), Bytes(size), encrypt),
                "Invalid AES key size. Key must be 16, 24, or 32 bytes.")
          << size;
    }
  }
}

TEST(SwCrypto, DataToDecryptMustEndAtABlock) {
  for (const std::size_t size : {1U, 15U, 17U, 31U}) {
    EXPECT_EQ(messageOf<std::runtime_error>(Bytes(size), kKey, false),
              "Invalid data size for AES-ECB (must be multiple of 16).")
        << size;
  }
}

TEST(SwCrypto, WithoutAProviderTheCipherIsUnavailableAndTheErrorQueueStaysAsItWas) {
  ERR_clear_error();
  ERR_raise_data(ERR_LIB_USER, 42, "the host's own");
  ASSERT_EQ(EVP_set_default_properties(nullptr, "provider=none"), 1);
  const std::string encrypting = messageOf<std::runtime_error>(Bytes(16), kKey, true);
  const std::string decrypting = messageOf<std::runtime_error>(Bytes(16), kKey, false);
  ASSERT_EQ(EVP_set_default_properties(nullptr, ""), 1);
  EXPECT_EQ(encrypting, "EVP AES cipher unavailable.");
  EXPECT_EQ(decrypting, "EVP AES cipher unavailable.");
  EXPECT_EQ(ERR_GET_REASON(ERR_peek_last_error()), 42);
  EXPECT_EQ(ERR_GET_REASON(ERR_get_error()), 42);
  EXPECT_EQ(ERR_get_error(), 0U);
  EXPECT_EQ(SwCrypto::cryptAES_ECB(fromHex(k256.cipherText), fromHex(k256.key), false), fromHex(kText));
}

TEST(SwCrypto, AKeyIsRefusedBeforeTheDataAndTheDataBeforeTheCipherIsFetched) {
  EXPECT_EQ(messageOf<std::invalid_argument>(Bytes(15), Bytes(31), false),
            "Invalid AES key size. Key must be 16, 24, or 32 bytes.");
  ASSERT_EQ(EVP_set_default_properties(nullptr, "provider=none"), 1);
  EXPECT_EQ(messageOf<std::runtime_error>(Bytes(15), kKey, false),
            "Invalid data size for AES-ECB (must be multiple of 16).");
  ASSERT_EQ(EVP_set_default_properties(nullptr, ""), 1);
}

/// Not among the tests that always run, because it takes 4 GiB:
///   build/cpu/bin/core_SwCrypto_test --gtest_also_run_disabled_tests --gtest_filter='*OneGiB*'
TEST(SwCrypto, DISABLED_MoreThanOneGiBIsEncryptedAndDecryptedAsItsBlocksAre) {
  constexpr std::size_t kGiB = std::size_t{1} << 30;
  const Bytes block = fromHex(kText.substr(0, 32));
  const Bytes other = fromHex(kText.substr(32, 32));
  Bytes data(kGiB + 48, 0);
  std::copy(block.begin(), block.end(), data.begin());
  std::copy(other.begin(), other.end(), data.begin() + (kGiB - 16));
  std::copy(block.begin(), block.end(), data.begin() + kGiB);
  std::copy(other.begin(), other.end(), data.end() - 16);

  const Bytes key = fromHex(k256.key);
  const Bytes cipherText = SwCrypto::cryptAES_ECB(data, key, true);
  ASSERT_EQ(cipherText.size(), data.size() + 16);
  const auto hasBlock = [&cipherText](std::size_t at, const std::string& hex) {
    const Bytes expected = fromHex(hex);
    return std::equal(expected.begin(), expected.end(), cipherText.begin() + static_cast<std::ptrdiff_t>(at));
  };
  const std::string cipherBlock = std::string(k256.cipherText).substr(0, 32);
  const std::string otherCipherBlock = std::string(k256.cipherText).substr(32, 32);
  EXPECT_TRUE(hasBlock(0, cipherBlock));
  EXPECT_TRUE(hasBlock(kGiB - 16, otherCipherBlock));
  EXPECT_TRUE(hasBlock(kGiB, cipherBlock));
  EXPECT_TRUE(hasBlock(kGiB + 32, otherCipherBlock));
  EXPECT_TRUE(hasBlock(kGiB + 48, k256.paddingBlock));

  Bytes padded = std::move(data);
  padded.insert(padded.end(), 16, 16);
  EXPECT_TRUE(SwCrypto::cryptAES_ECB(cipherText, key, false) == padded);
}
