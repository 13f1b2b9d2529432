#include "aes_key.h"

#include <openssl/evp.h>

#include <cstddef>
#include <memory>
#include <stdexcept>
#include <vector>

#include "OpenSslErrorMark.h"

namespace {

constexpr std::size_t kKeySize = 32;

struct DigestDeleter {
  void operator()(EVP_MD* digest) const noexcept { EVP_MD_free(digest); }
};
struct ContextDeleter {
  void operator()(EVP_MD_CTX* context) const noexcept { EVP_MD_CTX_free(context); }
};

SecretBytes sha256(const std::string& bytes) {
  const OpenSslErrorMark mark;
  // Fetched, not taken from EVP_sha256, which never fails, whatever providers the host has.
  const std::unique_ptr<EVP_MD, DigestDeleter> digest(EVP_MD_fetch(nullptr, "SHA2-256", nullptr));
  if (!digest) throw std::runtime_error("EVP sha algo unavailable.");
  const std::unique_ptr<EVP_MD_CTX, ContextDeleter> context(EVP_MD_CTX_new());
  if (!context) throw std::runtime_error("EVP_MD_CTX_new failed.");

  SecretBytes result(static_cast<std::size_t>(EVP_MD_get_size(digest.get())));
  const bool ok = EVP_DigestInit_ex2(context.get(), digest.get(), nullptr) == 1 &&
                  EVP_DigestUpdate(context.get(), bytes.data(), bytes.size()) == 1 &&
                  EVP_DigestFinal_ex(context.get(), result.data(), nullptr) == 1;
  if (!ok) throw std::runtime_error("EVP digest operation failed.");
  return result;
}

}  // namespace

SecretBytes deriveAesKey(const std::string& key) {
  if (key.size() != kKeySize) return sha256(key);
  return SecretBytes(std::vector<unsigned char>(key.begin(), key.end()));
}
