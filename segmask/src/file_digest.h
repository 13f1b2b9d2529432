#pragma once

#include <string>

namespace segmask {

/// The SHA-256 of a file's bytes, as 64 hexadecimal digits. Reads the whole file. Throws UserError.
std::string sha256Of(const std::string& path);

}  // namespace segmask
