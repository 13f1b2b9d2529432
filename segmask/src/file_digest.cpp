#include "src/file_digest.h"

#include <openssl/evp.h>

#include <array>
#include <memory>
#include <vector>

#include "io/FileDescriptor.h"
#include "io/UserError.h"

namespace segmask {
namespace {

constexpr std::size_t kBlockBytes = 1 << 20;

struct FreeContext {
  void operator()(EVP_MD_CTX* context) const { EVP_MD_CTX_free(context); }
};

std::string hexadecimal(const unsigned char* bytes, std::size_t size) {
  constexpr char kDigits[] = "0123456789abcdef";
  std::string text;
  for (std::size_t i = 0; i < size; ++i) {
    text += kDigits[bytes[i] >> 4U];
    text += kDigits[bytes[i] & 15U];
  }
  return text;
}

}  // namespace

std::string sha256Of(const std::string& path) {
  const FileDescriptor file = openForReading(path);
  const std::unique_ptr<EVP_MD_CTX, FreeContext> context(EVP_MD_CTX_new());
  bool works = context && EVP_DigestInit_ex(context.get(), EVP_sha256(), nullptr) == 1;
  std::vector<unsigned char> block(kBlockBytes);
  while (works) {
    const std::size_t size = readSome(file.get(), block.data(), block.size(), path);
    if (size == 0) break;
    works = EVP_DigestUpdate(context.get(), block.data(), size) == 1;
  }
  std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
  unsigned int size = 0;
  works = works && EVP_DigestFinal_ex(context.get(), digest.data(), &size) == 1;
  if (!works) throw UserError(path + ": OpenSSL cannot compute its SHA-256");
  return hexadecimal(digest.data(), size);
}

}  // namespace segmask
