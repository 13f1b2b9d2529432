#include "detection/outcome.h"

namespace seg_mask {

const char* outcomeWord(Outcome outcome) {
  switch (outcome) {
    case Outcome::Drawn:
      return "drawn";
    case Outcome::OverCap:
      return "over_cap";
    case Outcome::NotAnObject:
      return "not_an_object";
    case Outcome::LowScore:
      return "low_score";
    case Outcome::InvalidMask:
      return "invalid_mask";
    case Outcome::BoxOutside:
      return "box_outside";
    case Outcome::NoPixelInBox:
      return "no_pixel_in_box";
  }
  return "";
}

}  // namespace seg_mask
