#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "core/SwJsonObject.h"
#include "host/DetectionStream.h"
#include "render_base/geometry.h"

namespace segmask {

/// Looks in detection lines for what is read without an error, but hardly as its author meant it: boxes in
/// fractions of the frame, texts in place of numbers, members by other names. Each kind gives one warning for
/// the whole run, with its first place and how often it occurred. Of the tool alone: hosts read what
/// producers send, and have nobody to warn. One thread at a time.
class DetectionHints {
 public:
  /// For frames of that size.
  explicit DetectionHints(render_base::FrameSize frame) : frame_(frame) {}

  /// The frames from now on have this size.
  void setFrameSize(render_base::FrameSize frame) { frame_ = frame; }

  /// To be called for each line, in the file's order.
  void look(const DetectionLine& line);

  /// A sentence for each kind that occurred; `file` is the name of the lines' file.
  std::vector<std::string> warnings(const std::string& file) const;

 private:
  /// How often something occurred, and where first.
  struct Note {
    uint64_t count = 0;
    uint64_t lineNumber = 0;
    std::optional<std::size_t> index;  ///< in the line's "detections"; empty for the line itself
    std::string what;                  ///< of the first
  };

  struct Place {
    uint64_t lineNumber;
    std::optional<std::size_t> index;
  };

  static void add(Note& note, const Place& place, const std::string& what);
  void lookAtNames(const SwJsonObject& object, const Place& place);
  void lookAtBox(const SwJsonObject& object, const Place& place);
  void lookAtMask(const SwJsonObject& object, const Place& place);

  render_base::FrameSize frame_;
  std::optional<uint64_t> firstFrame_;
  uint64_t firstLine_ = 0;
  uint64_t boxes_ = 0;
  Note otherName_;
  Note text_;
  Note fractions_;
  Note beyond_;
  Note otherMask_;
  Note boxMask_;
};

}  // namespace segmask
