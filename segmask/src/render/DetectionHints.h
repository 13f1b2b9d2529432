#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "core/SwJsonObject.h"
#include "host/DetectionStream.h"
#include "render_base/geometry.h"

namespace segmask {

/// A member, and the names by which other programs call it; null where there are fewer.
struct MemberNames {
  const char* name;
  std::array<const char*, 6> others;
};

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

  /// To be called for each line, in the order of drawing, which is the file's but for pictures.
  void look(const DetectionLine& line);

  /// A sentence for each kind that occurred; `file` is the name of the lines' file. `fromTheBeginning` says
  /// that the lines looked at began with the file's first one.
  std::vector<std::string> warnings(const std::string& file, bool fromTheBeginning) const;

 private:
  struct Place {
    uint64_t lineNumber;
    std::optional<std::size_t> index;  ///< in the line's "detections"; empty for the line itself
  };

  /// How often something occurred, and where first in the file: pictures may be drawn in another order.
  struct Note {
    uint64_t count = 0;
    Place first{};
    render_base::FrameSize frame{};  ///< of the first
  };

  void add(Note& note, const Place& place) const;
  void addMember(const std::string& what, const Place& place);
  void lookAtMembers(const SwJsonObject& object, const Place& place);
  void lookForDetections(const SwJsonObject& object, const Place& place);
  bool lookForMember(const SwJsonObject& object, const MemberNames& member, const Place& place);
  std::string findMisspelt(const SwJsonObject& object, const std::string& name);
  void lookAtBox(const SwJsonObject& object, const Place& place);
  void lookAtMask(const SwJsonObject& object, const Place& place);

  render_base::FrameSize frame_;
  std::optional<uint64_t> firstFrame_;
  uint64_t firstLine_ = 0;
  uint64_t boxes_ = 0;
  uint64_t fractionalBoxes_ = 0;                 ///< with a side that is no whole number
  std::map<std::string, Note> members_;          ///< by what is wrong with a member
  std::map<std::string, std::string> misspelt_;  ///< by member: the name that was taken for it last
  uint64_t searches_ = 0;                        ///< for misspelt names
  Note fractions_;
  Note beyond_;
  Note boxMask_;                     ///< masks that look as if they were cropped to their boxes
  std::optional<int> boxMaskWidth_;  ///< of the last one
  bool boxMasksVary_ = false;        ///< in their width
  bool boxMasksAreScaled_ = false;   ///< one of them is much wider or narrower than its box
};

}  // namespace segmask
