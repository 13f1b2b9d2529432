#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "core/SwJsonObject.h"
#include "host/DetectionPayload.h"
#include "io/LineReader.h"
#include "render_base/geometry.h"

namespace segmask {

/// One producer's delivery for one frame: one line of the file.
struct DetectionLine {
  uint64_t frame = 0;
  std::string producer;
  DetectionPayload payload;
  std::size_t detections = 0;  ///< elements of the payload's "detections"
  uint64_t lineNumber = 0;
};

/// A line as it stands in the file: compact masks are not expanded, which takes the frame's size.
struct RawDetectionLine {
  uint64_t frame = 0;
  std::string image;  ///< where lines name pictures; in the place of the number unless it is empty
  std::string producer;
  SwJsonObject object;
  uint64_t lineNumber = 0;
};

/// Reads JSON lines of detections one by one and checks their members, except for the order of frames. Blank
/// lines are passed over. The file may be packed by gzip.
class DetectionLineReader {
 public:
  /// Whether "image" is read; otherwise it is a member like any other that is passed over.
  enum class Images { Named, PassedOver };

  /// `path` "-" is standard input. Throws UserError when the file cannot be opened.
  explicit DetectionLineReader(const std::string& path, Images images = Images::PassedOver)
      : reader_(path), images_(images) {}

  /// The next line; empty at the end of the file, and early once the user has asked to stop. Throws UserError
  /// "FILE:LINE: what is wrong".
  std::optional<RawDetectionLine> next();

  /// The line with its masks as texts, for a frame of that size. The lines of a frame are given one after the
  /// other, because their masks may have kMostMaskPixels together. Throws UserError as next() does.
  DetectionLine expand(RawDetectionLine raw, render_base::FrameSize frame);

  /// Throws UserError "FILE:LINE: what is wrong" when `frame`, that of the line of this number, is earlier
  /// than `before`, that of the line before it: for readers of files in frame order.
  void checkOrder(uint64_t before, uint64_t frame, uint64_t lineNumber) const;

  /// Throws UserError "FILE:LINE: `what`".
  [[noreturn]] void refuse(uint64_t lineNumber, const std::string& what) const;

  const std::string& path() const { return reader_.path(); }

 private:
  std::optional<RawDetectionLine> nextLine();
  RawDetectionLine parse() const;
  void readPlace(const SwJsonObject& object, RawDetectionLine& line) const;

  LineReader reader_;
  Images images_;
  std::string text_;
  std::optional<uint64_t> expandedFrame_;  ///< that of the line that expand() had last
  int64_t maskPixels_ = 0;                 ///< of its compact masks, over its lines so far
};

}  // namespace segmask
