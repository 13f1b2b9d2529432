#pragma once

#include <cstdint>
#include <string>

#include "io/TextOutput.h"
#include "mask/mask_extent.h"

namespace segmask {

/// A detection as a line has it.
struct ImportedDetection {
  std::string id;  ///< a JSON value that names it in its source; may be empty
  int classId = 0;
  std::string score = "1";  ///< a JSON number
  seg_mask::MaskExtent extent;
  int width = 0;  ///< of the mask
  int height = 0;
  std::string mask;  ///< the member "mask" as JSON
};

/// Writes detections as the JSON lines that DetectionStream reads, a line a frame.
class DetectionLines {
 public:
  /// `output` must outlive this object. `producer` names the source in every line.
  DetectionLines(TextOutput& output, std::string producer);

  /// Begins the line of a frame, of a higher number than the one before it. `image`, which may be empty, is
  /// the name of its picture.
  void beginFrame(uint64_t frame, const std::string& image);

  /// Throws UserError when the frame's line would be longer than a reader takes.
  void add(const ImportedDetection& detection);

  void endFrame();

  uint64_t frames() const { return frames_; }
  uint64_t detections() const { return detections_; }

 private:
  void put(const std::string& text);

  TextOutput& output_;
  std::string producer_;
  std::string place_;  ///< what errors call the frame
  std::size_t lineBytes_ = 0;
  bool isFirst_ = true;
  uint64_t frames_ = 0;
  uint64_t detections_ = 0;
};

}  // namespace segmask
