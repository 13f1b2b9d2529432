#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "host/DetectionLineReader.h"

namespace segmask {

/// Reads the detections of pictures that have nothing to do with each other. The lines are those of
/// DetectionStream, with two differences: one may name its picture, "image", in the place of or beside
/// "frame", and they may come in any order. The name decides where both are given; folders in it do not
/// count.
///
/// All lines are read at once and kept until their picture is taken, as they are in the file: compact masks
/// stay compact.
class PictureDetections {
 public:
  /// `pictures` are the pictures' file names, by number, without folders. Throws UserError "FILE:LINE: what
  /// is wrong", also for the name of no picture.
  PictureDetections(const std::string& path, const std::vector<std::string>& pictures);

  /// The lines of a picture of this size, in the file's order; once for each picture. Throws UserError
  /// "FILE:LINE: what is wrong" for a mask that is none.
  std::vector<DetectionLine> take(uint64_t picture, render_base::FrameSize size);

  /// The file's first line for a number that no picture has.
  const std::optional<RawDetectionLine>& rest() const { return rest_; }

  /// True when there was no line in the file.
  bool heldNoLine() const { return heldNoLine_; }

  const std::string& path() const { return reader_.path(); }

 private:
  DetectionLineReader reader_;
  std::map<uint64_t, std::vector<RawDetectionLine>> lines_;  ///< by picture
  std::optional<RawDetectionLine> rest_;
  bool heldNoLine_ = true;
};

}  // namespace segmask
