#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace seg_mask {

/// Decodes the base64 in `text` to its first bytes, at most `limit`. Lenient, because producers wrap lines
/// and leave padding out: characters outside the alphabet A-Z a-z 0-9 + / are skipped, the data ends at the
/// first "=" or with the text, and bits that make no whole byte are dropped. Memory is taken for `limit`
/// bytes, whatever the text holds.
std::vector<uint8_t> decodeBase64(std::string_view text, std::size_t limit);

/// The same into `bytes`, which has room for `limit` and kBase64Slack bytes; all of that may be written.
/// Returns the number of bytes decoded.
std::size_t decodeBase64(std::string_view text, std::size_t limit, uint8_t* bytes);

/// How far behind its limit decodeBase64 writes: a block of 12 bytes, what a chunk of 256 characters gives,
/// and two bytes that end the last word.
inline constexpr std::size_t kBase64Slack = 12 + 192 + 2;

/// The largest number of bytes that so many characters decode to.
constexpr std::size_t base64Bytes(std::size_t characters) {
  return characters / 4 * 3 + characters % 4 * 3 / 4;
}

/// Appends `count` bytes in base64, padded with "=" to whole groups of four characters.
void appendBase64(const uint8_t* bytes, std::size_t count, std::string& text);

}  // namespace seg_mask
