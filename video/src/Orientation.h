#pragma once

#include <optional>
#include <vector>

#include "io/nv12.h"
#include "video/VideoFormat.h"
#include "video/libav_handles.h"

namespace segmask {

/// How a stored picture is turned for showing: rows and columns exchanged, and then each axis of the result
/// reversed or not. These are the four quarter turns, each mirrored or not.
struct Orientation {
  bool transposed = false;
  bool reversedX = false;
  bool reversedY = false;

  bool isUpright() const { return !transposed && !reversedX && !reversedY; }
};

/// The orientation of a display matrix; empty for one that turns by other angles.
std::optional<Orientation> orientationOf(const DisplayMatrix& matrix);

/// The orientation of the value of Exif's tag of that name, 1 to 8; upright for any other.
Orientation orientationOfExif(int value);

/// That of a decoded picture's Exif data; upright where it has none.
Orientation exifOrientationOf(const AVFrame& picture);

/// Turns a packed NV12 picture. Where a side is odd, the last chroma sample covers one pixel and not two;
/// reversed, it becomes the first and covers two.
void turn(const std::vector<unsigned char>& stored, const Nv12Layout& layout, Orientation orientation,
          std::vector<unsigned char>& shown);

}  // namespace segmask
