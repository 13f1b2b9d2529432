#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "core/SwJsonValue.h"
#include "mask/mask_bits.h"
#include "mask/mask_placement.h"
#include "render_base/geometry.h"

namespace segmask {

/// A detection's member "mask", in one of these forms:
///
///   {"size": [height, width], "counts": "..." or [...]}    run lengths, compressed or as numbers
///   {"size": ..., "counts": ..., "at": [x, y, w, h]}       run lengths for a part of the frame
///   {"polygon": [[x, y, x, y, ...], ...]}                  polygons in frame pixels
///
/// Members of other names are passed over. Everything that is wrong is a UserError that says what, without a
/// place.
class CompactMask {
 public:
  /// The most pixels that a mask may have, of its own or as the frame's.
  static constexpr int64_t kMostPixels = int64_t{1} << 28;

  /// Reads all but the mask's pixels. `mask` is not copied and must outlive this object; `frame` is the size
  /// of the frame that the mask is for. `polygonName` is what errors call the member "polygon", for masks
  /// that were made of others; it must outlive this object.
  CompactMask(const SwJsonValue& mask, render_base::FrameSize frame, const char* polygonName = "polygon");

  /// How many pixels the mask has.
  int64_t pixels() const;

  /// The mask: of the frame's size for polygons and for a part of the frame, else of its own.
  seg_mask::MaskBits bits() const;

  /// The same as a mask text.
  std::string text() const;

 private:
  render_base::FrameSize frame_;
  const char* polygonName_;
  const SwJsonValue* polygon_;  ///< null for run lengths
  const SwJsonValue* counts_;   ///< null for polygons
  render_base::FrameSize size_{};
  std::optional<seg_mask::MaskPlacement> at_;
};

}  // namespace segmask
