#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace segmask {

/// What the pixels of a PNG file say of masks.
struct MaskPicture {
  int width;
  int height;
  /// Whether each value is one of its own: palette indices or grey values. A picture in colours has 1 for all
  /// but black.
  bool isIndexed;
  std::vector<uint8_t> values;  ///< row by row without padding; 0 is outside, transparent pixels too
};

/// The most pixels of a PNG file that is read as masks. A small file can be of very many.
inline constexpr int64_t kMostMaskPicturePixels = int64_t{1} << 26;

/// Whether the bytes begin as a PNG file does.
bool isPng(const std::string& bytes);

/// Decodes a PNG file of 1 to 8 bits a sample. Grey values are the file's, 0 to 15 where they have 4 bits.
/// Throws UserError, without the file's name, when it is no PNG file, damaged or cut off, has 16 bits a
/// sample, or more pixels than kMostMaskPicturePixels.
MaskPicture decodeMaskPicture(const std::string& bytes);

/// A grey PNG file of `width` x `height` pixels, both at least 1, from as many values row by row.
std::string encodeGreyPng(const std::vector<uint8_t>& values, int width, int height);

}  // namespace segmask
