#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace segmask {

inline constexpr std::size_t kPngSignatureBytes = 8;

/// A part of a PNG file.
struct PngChunk {
  std::string_view kind;  ///< four letters
  std::string_view data;
};

/// The chunk that begins at `at`, which becomes the place of the next one. Nothing at the end of the file,
/// nor of a chunk that is cut off. `file` must outlive the chunk.
std::optional<PngChunk> nextPngChunk(std::string_view file, std::size_t& at);

/// The number of 32 bits at `at`, the highest first.
uint32_t bigEndian32(std::string_view bytes, std::size_t at);

/// Whether the image data of a PNG file are, unpacked, of all the rows that its header asks for. libavcodec's
/// decoder gives a picture without an error when rows are missing. What else is wrong with the data is left
/// to it. Throws std::bad_alloc.
bool hasAllPngRows(std::string_view file);

}  // namespace segmask
