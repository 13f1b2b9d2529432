#include "io/utf8.h"

namespace segmask {

std::size_t utf8CharacterBytes(std::string_view text, std::size_t at) {
  const auto byte = [text](std::size_t index) {
    return index < text.size() ? static_cast<unsigned char>(text[index]) : 0U;
  };
  const unsigned lead = byte(at);
  if (lead < 0x80) return 1;
  const std::size_t size = lead >= 0xC2 && lead < 0xE0   ? 2
                           : lead >= 0xE0 && lead < 0xF0 ? 3
                           : lead >= 0xF0 && lead < 0xF5 ? 4
                                                         : 0;
  for (std::size_t i = 1; i < size; ++i) {
    if ((byte(at + i) & 0xC0U) != 0x80U) return 0;
  }
  const unsigned second = byte(at + 1);
  const bool isTooLong = (lead == 0xE0 && second < 0xA0) || (lead == 0xF0 && second < 0x90);
  const bool isBeyond = (lead == 0xED && second > 0x9F) || (lead == 0xF4 && second > 0x8F);
  return isTooLong || isBeyond ? 0 : size;
}

bool isUtf8(std::string_view text) {
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t size = utf8CharacterBytes(text, at);
    if (size == 0) return false;
    at += size;
  }
  return true;
}

}  // namespace segmask
