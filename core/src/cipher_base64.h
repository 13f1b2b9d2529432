#pragma once

#include <string>
#include <string_view>
#include <vector>

/// The base64 form of cipher texts: the standard alphabet, which ends in '+' and '/', without line breaks.
namespace cipher_base64 {

/// '=' fills the last group to four characters.
std::string encode(const std::vector<unsigned char>& bytes);

/// Reads up to the first byte that is not of the alphabet, be it '=', a blank or a line break, and ignores
/// the rest. Gives the bytes that are complete by then.
std::vector<unsigned char> decode(std::string_view text);

}  // namespace cipher_base64
