#pragma once

namespace seg_mask {

/// What becomes of one element of a payload's "detections": drawn, or the first rule that drops it.
enum class Outcome {
  Drawn,
  OverCap,      ///< the frame's list was full before it
  NotAnObject,  ///< not a JSON object; does not count toward the cap
  LowScore,     ///< its score is below the threshold
  InvalidMask,  ///< see MaskTextFault
  BoxOutside,   ///< no pixel of its box lies within the frame
  NoPixelInBox  ///< its mask has no pixel within box and frame
};

/// The outcome as a word for programs, static text: "drawn", "over_cap", "not_an_object", "low_score",
/// "invalid_mask", "box_outside", "no_pixel_in_box".
const char* outcomeWord(Outcome outcome);

}  // namespace seg_mask
