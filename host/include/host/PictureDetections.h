#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "host/DetectionStream.h"

namespace segmask {

/// Reads the detections of pictures that have nothing to do with each other, as JSON lines like those of
/// DetectionStream, with two differences: a line may name its picture, "image", in the place of or beside
/// "frame", and lines may come in any order. The name decides where both are given; folders in it do not
/// count.
///
/// All lines are read at once and kept until their picture is taken: as they are in the file, so compact masks
/// stay compact.
class PictureDetections {
 public:
  /// `pictures` are the pictures' file names, by number, without folders. Throws UserError "FILE:LINE: what is
  /// wrong", also for the name of no picture.
  PictureDetections(const std::string& path, const std::vector<std::string>& pictures);

  /// The lines of a picture of this size, in the file's order; once for each picture.
  std::vector<DetectionLine> take(uint64_t picture, render_base::FrameSize size);

  /// The file's first line for a number that no picture has.
  const std::optional<DetectionLine>& rest() const { return rest_; }

  const std::string& path() const { return path_; }

 private:
  std::string path_;
  std::map<uint64_t, std::vector<RawDetectionLine>> lines_;  ///< by picture
  std::optional<DetectionLine> rest_;
};

}  // namespace segmask
