#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace seg_mask {

/// The first bytes that the base64 of `text` stands for, `limit` at most. Lenient, because producers wrap
/// lines and leave padding out: characters outside the alphabet A-Z a-z 0-9 + / are skipped, the data ends at
/// the first "=" or with the text, and bits that make no whole byte are dropped. Memory is taken for `limit`
/// bytes, whatever the text holds.
std::vector<uint8_t> decodeBase64(std::string_view text, std::size_t limit);

/// `count` bytes in base64, padded with "=" to whole groups of four characters.
std::string encodeBase64(const uint8_t* bytes, std::size_t count);

}  // namespace seg_mask
