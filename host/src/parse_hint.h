#pragma once

#include <string>

namespace segmask {

/// What another program seems to have written in the place of JSON (UTF-16, NaN, single quotes, several
/// values or none on a line), as a text in parentheses for the end of the message. `line` is one that is not
/// blank, `error` the parser's message about it. Empty when it is nothing known.
std::string parseHint(const std::string& line, const std::string& error);

}  // namespace segmask
