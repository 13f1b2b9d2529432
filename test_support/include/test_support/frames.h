#pragma once

#include <cstddef>
#include <string>

/// Packed NV12 frames of pseudo-random bytes, the same at every run. Such frames do not compress, so encoded
/// files of them grow fast.
std::string noiseFrames(int width, int height, int count);

/// Packed NV12 frames that a codec reproduces well: each of one colour, luma 40 + 4 x its number, chroma
/// 120 and 136.
std::string flatFrames(int width, int height, int count);

/// Bytes of one packed frame.
std::size_t frameBytes(int width, int height);

/// A line of detections that says that nothing was found.
inline const std::string kNothingFoundLine = "{\"frame\":0,\"producer\":\"p\"}\n";

/// One line of detections for one producer: one detection of class 0 whose mask covers the whole frame.
std::string fullMaskLine(int frame, const std::string& producer);
