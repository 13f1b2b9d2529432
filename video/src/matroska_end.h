#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace segmask {

/// Where a Matroska or WebM file ends, in bytes, by its own header. Empty where it does not say, as a
/// recording that was never completed or went through a pipe, and for any other file. Throws UserError when
/// the file cannot be read.
std::optional<uint64_t> matroskaEnd(const std::string& path);

}  // namespace segmask
