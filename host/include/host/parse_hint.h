#pragma once

#include <string>
#include <string_view>

namespace segmask {

// What another program seems to have written in the place of JSON, as a text in parentheses for the end of a
// message. Empty when it is nothing known.

/// Another encoding than UTF-8, by the first four bytes of a text.
std::string encodingHint(std::string_view beginning);

/// NaN, Infinity or single quotes, which begin here.
std::string tokenHint(std::string_view rest);

/// Any of these, and several values or none on a line. `line` is one that is not blank, `error` the parser's
/// message about it.
std::string parseHint(const std::string& line, const std::string& error);

}  // namespace segmask
