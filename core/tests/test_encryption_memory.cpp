// What encryption does when memory runs out, and what it leaves in memory that it gives back.

#include <gtest/gtest.h>
#include <malloc.h>
#include <openssl/crypto.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <new>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "core/SwCrypto.h"
#include "core/SwJsonDocument.h"
#include "test_support/Allocations.h"
#include "test_support/StderrCapture.h"

namespace {

Countdown opensslMalloc;
std::atomic<int> opensslAllocations{0};

/// The bytes to look for in memory that is given back. Not on the heap itself.
char secret[64];
std::atomic<std::size_t> secretSize{0};
std::atomic<int> secretsFound{0};

void lookForSecret(void* memory) {
  if (memmem(memory, malloc_usable_size(memory), secret, secretSize)) ++secretsFound;
}

void* opensslAllocate(std::size_t size, const char*, int) {
  ++opensslAllocations;
  return size == 0 || opensslMalloc.failsNow() ? nullptr : std::malloc(size);
}

void* opensslReallocate(void* memory, std::size_t size, const char*, int) {
  return opensslMalloc.failsNow() ? nullptr : std::realloc(memory, size);
}

void opensslFree(void* memory, const char*, int) {
  std::free(memory);
}

/// OpenSSL takes these only before its first allocation.
const int opensslTookOver = CRYPTO_set_mem_functions(opensslAllocate, opensslReallocate, opensslFree);

/// The number of given back pieces of memory that held `bytes` while `work` ran.
int leftovers(const std::string& bytes, const std::function<void()>& work) {
  if (bytes.size() > sizeof(secret)) std::abort();
  std::memcpy(secret, bytes.data(), bytes.size());
  secretsFound = 0;
  secretSize = bytes.size();
  watchGivenBack(lookForSecret);
  work();
  watchGivenBack(nullptr);
  return secretsFound;
}

std::string messageOf(const std::function<void()>& work) {
  try {
    work();
  } catch (const std::exception& error) {
    return error.what();
  }
  return "none";
}

using Texts = std::set<std::string>;

const SwString kKey32 = "0123456789abcdef0123456789abcdef";
const SwString kPlain = "a longer text that needs more than one block";
/// Under "key" and under kKey32, by the openssl command line.
const SwString kCipherText = "hcROnEmZwEwJeEzqwICdl5N5lEB6t7rBn9a8GU1/nfQF79FuCQp0rBiOTdpdoyCq";
const SwString kCipherText32 = "u/ZsnFfD35+8rAkBySnP4O2EoZV0GUuTGO8EeDGgbyhdUOchDdrGhoshywVKuX9W";
/// The SHA-256 digest of "key", by sha256sum.
const std::string kDigest =
    "\x2c\x70\xe1\x2b\x7a\x06\x46\xf9\x22\x79\xf4\x27\xc7\xb3\x8e\x73"
    "\x34\xd8\xe5\x38\x9c\xff\x16\x7a\x1d\xc3\x0e\x73\xf8\x26\xb6\x83";

SwString encrypt(const SwString& plain, const SwString& key, Countdown& allocations) {
  const Failing failing(allocations);
  return plain.encryptAES(key);
}

SwString decrypt(const SwString& cipherText, const SwString& key, Countdown& allocations) {
  SwString text = cipherText;
  const Failing failing(allocations);
  return text.decryptAES(key);
}

/// What parsing under "key" comes to, with one allocation failing after another: an error, "no memory" if it
/// threw, or the value as compact text.
Texts parseOutcomes(const SwString& json) {
  const SwString key("key");
  Texts outcomes;
  const auto parse = [&json, &key]() -> std::string {
    const StderrCapture captured;
    SwJsonDocument document;
    SwString error;
    try {
      const Failing failing(operatorNew);
      document.loadFromJson(json, error, key);
    } catch (const std::bad_alloc&) {
      return "no memory";
    }
    EXPECT_TRUE(error.empty() || document.root().isNull()) << error.str();
    SwString text;
    document.generateJson(document.root(), text, false, 0, "");
    return error.empty() ? text : error;
  };
  const int failures = runWithEachFailure(operatorNew, [&] { outcomes.insert(parse()); });
  EXPECT_GT(failures, 0);
  return outcomes;
}

}  // namespace

TEST(EncryptionOutOfMemory, OpensslFailingMakesEveryMessageOfTheCipher) {
  ASSERT_EQ(opensslTookOver, 1);
  const std::vector<unsigned char> data(16);
  const std::vector<unsigned char> key(32);
  const std::pair<bool, const char*> directions[] = {{true, "EVP AES encrypt failed."},
                                                     {false, "EVP AES decrypt failed."}};
  for (const auto& [encrypt, failed] : directions) {
    const auto run = [&, direction = encrypt] {
      const Failing failing(opensslMalloc);
      SwCrypto::cryptAES_ECB(data, key, direction);
    };
    opensslMalloc.start(1000);
    ASSERT_EQ(messageOf(run), "none") << "fetched once, the cipher stays in OpenSSL's memory";
    Texts messages;
    runWithEachFailure(opensslMalloc, [&] { messages.insert(messageOf(run)); });
    EXPECT_EQ(messages, (Texts{"EVP_CIPHER_CTX_new failed.", failed, "none"}));
  }
}

TEST(EncryptionOutOfMemory, OpensslFailingMakesEveryMessageOfTheDigest) {
  ASSERT_EQ(opensslTookOver, 1);
  ASSERT_EQ(kPlain.encryptAES("key"), kCipherText);
  Texts messages;
  runWithEachFailure(opensslMalloc, [&] {
    const StderrCapture captured;
    const bool failed = decrypt(kCipherText, "key", opensslMalloc).empty();
    EXPECT_EQ(failed, !captured.text().empty());
    messages.insert(captured.text());
  });
  EXPECT_EQ(messages, (Texts{"Decryption error: EVP_MD_CTX_new failed.\n",
                             "Decryption error: EVP digest operation failed.\n",
                             "Decryption error: EVP_CIPHER_CTX_new failed.\n",
                             "Decryption error: EVP AES decrypt failed.\n", ""}));
}

TEST(EncryptionOutOfMemory, EncryptingGivesAnEmptyStringWithTheReason) {
  Texts outcomes;
  runWithEachFailure(operatorNew, [&] {
    const StderrCapture captured;
    const SwString cipherText = encrypt(kPlain, "key", operatorNew);
    outcomes.insert(captured.text() + cipherText.str());
  });
  EXPECT_EQ(outcomes, (Texts{"Encryption error: std::bad_alloc\n", kCipherText}));
}

TEST(EncryptionOutOfMemory, DecryptingThrowsOnlyForWantOfMemoryForTheResultOrTheMessage) {
  const auto outcomesOf = [](const SwString& cipherText) {
    Texts outcomes;
    runWithEachFailure(operatorNew, [&] {
      const StderrCapture captured;
      try {
        const SwString plain = decrypt(cipherText, "key", operatorNew);
        outcomes.insert(captured.text() + plain.str());
      } catch (const std::bad_alloc&) {
        outcomes.insert("thrown");
      }
    });
    return outcomes;
  };
  EXPECT_EQ(outcomesOf(kCipherText), (Texts{"Decryption error: std::bad_alloc\n", kPlain, "thrown"}));
  EXPECT_EQ(outcomesOf("LdfwP4C6o/zvbXYyBAItdA=="), (Texts{"Decryption error: std::bad_alloc\n", "hello"}))
      << "a short result needs no memory";
  EXPECT_EQ(outcomesOf("42"),
            (Texts{"Decryption error: std::bad_alloc\n",
                   "Decryption error: Invalid data size for AES-ECB (must be multiple of 16).\n", "thrown"}));
}

TEST(KeyedJsonOutOfMemory, AQuotedValueWhoseDecryptionThrowsCannotBeDecrypted) {
  EXPECT_EQ(
      parseOutcomes("\"" + kCipherText + "\""),
      (Texts{"\"\"", "\"" + kPlain.str() + "\"",
             "Unable to decrypt string value (index 66) near \"" + kCipherText.mid(45, -1).str() + "\"\""}));
  EXPECT_EQ(parseOutcomes("[\"42\"]"),
            (Texts{"no memory", "[\"\"]", "Unable to decrypt string value (index 5) near \"[\"42\"]\""}));
}

TEST(KeyedJsonOutOfMemory, ABareTokenWhoseDecryptionThrowsIsAPlainLiteralOrElseANumberWithoutDigits) {
  for (const char* literal : {"42", "-1.5", "true", "false", "null"}) {
    EXPECT_EQ(parseOutcomes(literal), (Texts{"\"\"", literal}));
  }
  EXPECT_EQ(parseOutcomes(kCipherText), (Texts{"\"\"", "\"" + kPlain.str() + "\"",
                                               "Expected digit in number literal (index 0) near \"" +
                                                   kCipherText.mid(0, 20).str() + "\""}));
}

TEST(KeyedJson, TheKeyIsDerivedAndTheCipherSetUpOnceADocument) {
  const auto allocationsOf = [](int values) {
    SwJsonArray array;
    for (int i = 0; i < values; ++i) array.append(i);
    SwString text;
    SwJsonDocument document;
    const int before = opensslAllocations;
    document.generateJson(array, text, false, 0, "key");
    const int generating = opensslAllocations - before;
    SwString error;
    EXPECT_TRUE(document.loadFromJson(text, error, "key"));
    EXPECT_EQ(document.root(), SwJsonValue(array));
    return std::pair(generating, opensslAllocations - before - generating);
  };
  allocationsOf(1);  // what OpenSSL fetches it keeps
  EXPECT_GT(allocationsOf(1).first, 0);
  EXPECT_EQ(allocationsOf(1), allocationsOf(100));
}

TEST(KeyedJsonOutOfMemory, WhatOpensslFailsForOneValueItMayDoForTheNext) {
  // Under "key", made with the openssl command line as test_SwStringEncryption.cpp tells.
  const std::string k42 = "jMICciV0iqRifyLLzQDWng==";
  const SwJsonValue tree = [] {
    SwJsonArray array;
    array.append(42);
    array.append(42);
    return SwJsonValue(array);
  }();
  Texts generated;
  Texts parsed;
  const auto generate = [&] {
    const StderrCapture captured;
    const Failing failing(opensslMalloc);
    SwString text;
    SwJsonDocument().generateJson(tree, text, false, 0, "key");
    generated.insert(text);
  };
  const auto parse = [&] {
    const StderrCapture captured;
    const Failing failing(opensslMalloc);
    SwJsonDocument document;
    SwString error;
    EXPECT_TRUE(document.loadFromJson("[" + k42 + "," + k42 + "]", error, "key"));
    SwString text;
    document.generateJson(document.root(), text, false, 0, "");
    parsed.insert(text);
  };
  ASSERT_NE(SwString("x").encryptAES("key"), "");  // what OpenSSL fetches it keeps
  EXPECT_GT(runWithEachFailure(opensslMalloc, generate), 0);
  EXPECT_GT(runWithEachFailure(opensslMalloc, parse), 0);
  EXPECT_EQ(generated, (Texts{"[" + k42 + "," + k42 + "]", "[," + k42 + "]"}));
  EXPECT_EQ(parsed, (Texts{"[42,42]", "[\"\",42]"}));
}

TEST(EncryptionWipes, TheSearchFindsWhatIsNotWiped) {
  EXPECT_EQ(leftovers(kPlain, [] { std::string(kPlain.str()); }), 1);
}

TEST(EncryptionWipes, PlainTextKeyAndDigestAreGoneFromMemoryThatEncryptingAndDecryptingGiveBack) {
  const struct {
    std::string secret;
    SwString key;
    SwString cipherText;
  } cases[] = {{kPlain, "key", kCipherText}, {kDigest, "key", kCipherText}, {kKey32, kKey32, kCipherText32}};
  for (const auto& [secretBytes, key, expected] : cases) {
    SwString cipherText;
    SwString plain;
    const auto encryptAndDecrypt = [&, &itsKey = key] {
      cipherText = kPlain.encryptAES(itsKey);
      plain = cipherText.decryptAES(itsKey);
    };
    EXPECT_EQ(leftovers(secretBytes, encryptAndDecrypt), 0);
    EXPECT_EQ(cipherText, expected);
    EXPECT_EQ(plain, kPlain);
  }
}

// --- keyed documents. Their texts are longer than what a string keeps in itself, unless a test says
// otherwise.

TEST(EncryptionWipes, PlainTextIsGoneFromMemoryThatGeneratingGivesBack) {
  const std::pair<SwJsonValue, std::string> values[] = {{kPlain, kPlain},
                                                        {INT64_MIN, std::to_string(INT64_MIN)}};
  for (const auto& [value, plain] : values) {
    SwString text;
    EXPECT_EQ(
        leftovers(plain,
                  [&, &written = value] { SwJsonDocument().generateJson(written, text, false, 0, "key"); }),
        0)
        << plain;
    EXPECT_FALSE(text.empty());
  }
}

TEST(EncryptionWipes, PlainTextIsGoneFromMemoryThatParsingGivesBack) {
  for (const SwString& plain : {kPlain, SwString("00000000000000000012"), SwString("3.14159265358979323846"),
                                SwString("1234567890123456789"), SwString("3.14159265358979323846e0")}) {
    const std::string token = plain.encryptAES("key");
    for (const std::string& json : {token, "\"" + token + "\""}) {
      SwJsonDocument document;
      SwString error;
      const StderrCapture captured;  // of a number of more than 32 bits
      // The line that quotes a number is on standard error anyway.
      const bool isQuotedInALine = plain == "1234567890123456789" && json != token;
      const int found = leftovers(plain, [&] { document.loadFromJson(json, error, "key"); });
      EXPECT_TRUE(found == 0 || isQuotedInALine) << json;
      EXPECT_EQ(error, "");
      EXPECT_FALSE(document.root().isNull());
    }
  }
}

TEST(EncryptionWipes, PlainTextIsGoneWithTheValuesOfADocumentThatIsRefused) {
  const std::string value = "\"" + kCipherText.str() + "\"";
  const std::string deep = std::string(20, '[') + "{\"k\":" + value + "," + value;
  for (const std::string& json : {"[" + value, "[" + value + "," + value + ";", "{\"k\":[{}," + value + "],?",
                                  "[[],[" + value + "],?", deep}) {
    const StderrCapture captured;
    SwJsonDocument document;
    SwString error;
    EXPECT_EQ(leftovers(kPlain, [&] { document.loadFromJson(json, error, "key"); }), 0) << json;
    EXPECT_NE(error, "") << json;
  }
}

TEST(EncryptionWipes, PlainTextIsGoneWithAMemberThatIsOverwritten) {
  const std::string value = kCipherText;
  SwJsonDocument document;
  SwString error;
  for (const std::string& json :
       {"{\"k\":" + value + ",\"k\":[]}", "{\"k\":[{\"l\":" + value + "}],\"k\":" + value + "}"}) {
    EXPECT_EQ(leftovers(kPlain, [&] { document.loadFromJson(json, error, "key"); }), 0) << json;
    EXPECT_EQ(error, "");
  }
}

/// A short text lies in its value, which moves when the array grows; moving overwrites its first byte alone.
TEST(EncryptionWipes, ShortTextsAreGoneFromMemoryThatAGrowingArrayGivesBack) {
  const SwString plain = "short as can be";
  std::string json = "[" + plain.encryptAES("key").str();
  for (int i = 0; i < 40; ++i) json += ",[]";
  json += "]";
  SwJsonDocument document;
  SwString error;
  EXPECT_EQ(leftovers(plain.mid(1, -1), [&] { document.loadFromJson(json, error, "key"); }), 0);
  ASSERT_EQ(error, "");
  EXPECT_EQ(document.root().array()->size(), 41U);
  EXPECT_EQ(document.root().array()->at(0), SwJsonValue(plain));
}

TEST(EncryptionWipes, PlainTextIsGoneWhereParsingFailsForWantOfMemory) {
  const std::string value = kCipherText;
  const SwString json = "[" + value + ",{\"a key that needs memory\":\"" + value + "\",\"k\":" + value + "}]";
  const int failures = runWithEachFailure(operatorNew, [&] {
    const StderrCapture captured;
    const auto parse = [&] {
      SwJsonDocument document;
      SwString error;
      try {
        const Failing failing(operatorNew);
        document.loadFromJson(json, error, "key");
      } catch (const std::bad_alloc&) {
      }
      // What was parsed is the caller's.
      SwJsonValue root = document.takeRoot();
      watchGivenBack(nullptr);
    };
    EXPECT_EQ(leftovers(kPlain, parse), 0);
  });
  EXPECT_GT(failures, 8);
}

TEST(EncryptionWipes, SecretsAreGoneOnErrorPathsToo) {
  for (Countdown* allocations : {&operatorNew, &opensslMalloc}) {
    for (const std::string& bytes : {kDigest, kPlain.str()}) {
      const auto encryptAndDecrypt = [&] {
        const StderrCapture captured;
        SwString result;
        const auto work = [&] {
          try {
            result = encrypt(kPlain, "key", *allocations);
            result = decrypt(kCipherText, "key", *allocations);
          } catch (const std::bad_alloc&) {
          }
        };
        EXPECT_EQ(leftovers(bytes, work), 0);
      };
      EXPECT_GE(runWithEachFailure(*allocations, encryptAndDecrypt), 4);
    }
  }
}
