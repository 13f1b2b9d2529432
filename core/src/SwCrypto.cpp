#include "core/SwCrypto.h"

#include "src/AesEcb.h"
#include "src/SecretBytes.h"

std::vector<unsigned char> SwCrypto::cryptAES_ECB(const std::vector<unsigned char>& data,
                                                  const std::vector<unsigned char>& key, bool encrypt) {
  AesEcb cipher(key, encrypt ? AesEcb::Direction::Encrypt : AesEcb::Direction::Decrypt);
  SecretBytes blocks = encrypt ? AesEcb::padded(data.data(), data.size()) : SecretBytes(data);
  cipher.run(blocks);
  return blocks.release();
}
