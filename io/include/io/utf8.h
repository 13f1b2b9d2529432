#pragma once

#include <cstddef>
#include <string_view>

namespace segmask {

/// The number of bytes, 1 to 4, of the character in UTF-8 that begins at `at`; 0 where none does. `at` is
/// within the text.
std::size_t utf8CharacterBytes(std::string_view text, std::size_t at);

/// Whether all bytes are of characters in UTF-8, as JSON needs it.
bool isUtf8(std::string_view text);

}  // namespace segmask
