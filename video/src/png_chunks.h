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

/// What a PNG file says of its picture, in its first chunk.
struct PngHeader {
  uint32_t width;
  uint32_t height;
  unsigned sampleBits;
  unsigned colorKind;  ///< 0 grey, 2 red green blue, 3 palette, 4 grey and alpha, 6 colours and alpha
  bool isInterlaced;
};

/// Empty where the file does not begin with one.
std::optional<PngHeader> pngHeader(std::string_view file);

/// Whether the image data of a PNG file are, unpacked, of all the rows that its header asks for. libavcodec's
/// decoder gives a picture without an error when rows are missing. What else is wrong with the data is left
/// to it; no more is unpacked than is asked for. Throws std::bad_alloc.
bool hasAllPngRows(std::string_view file);

}  // namespace segmask
