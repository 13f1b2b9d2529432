#include "host/verdict_words.h"

#include <array>
#include <charconv>
#include <cmath>

using seg_mask::DetView;
using seg_mask::MaskTextFault;
using seg_mask::Outcome;
using seg_mask::Verdict;

namespace segmask {
namespace {

/// As short as it can be and still tell the number from its neighbours: 0.4999999 is below 0.5.
std::string numberText(float number) {
  const float size = std::abs(number);
  const bool isUsual = size == 0 || (size >= 1e-6F && size < 1e9F);
  const auto format = isUsual ? std::chars_format::fixed : std::chars_format::general;
  std::array<char, 32> text{};
  return {text.data(), std::to_chars(text.data(), text.data() + text.size(), number, format).ptr};
}

std::string sizeText(int width, int height) {
  return std::to_string(width) + "x" + std::to_string(height);
}

std::string boxText(const DetView& detection) {
  return "x " + std::to_string(detection.x) + ", y " + std::to_string(detection.y) + ", w " +
         std::to_string(detection.w) + ", h " + std::to_string(detection.h);
}

std::string fieldText(MaskTextFault::Field field) {
  switch (field) {
    case MaskTextFault::Field::Prefix:
      return "prefix";
    case MaskTextFault::Field::Width:
      return "width";
    case MaskTextFault::Field::Height:
      return "height";
    case MaskTextFault::Field::Data:
      return "data";
  }
  return {};
}

std::string noMaskText(const std::string& text) {
  if (text.empty()) return R"("class_info" is empty; it has to hold a mask text, "SEG1|...")";
  // What a missing member reads as.
  if (text == "null") return R"(there is no "class_info"; it has to hold a mask text, "SEG1|...")";
  return R"("class_info" is no mask text: it does not begin with "SEG1|")";
}

std::string outsideText(const DetView& detection, render_base::FrameSize frame) {
  if (detection.w <= 0 || detection.h <= 0) return "its box is empty (" + boxText(detection) + ")";
  return "its box lies outside the " + sizeText(frame.width, frame.height) + " frame (" + boxText(detection) +
         ")";
}

}  // namespace

std::string grouped(uint64_t number) {
  std::string text = std::to_string(number);
  for (std::size_t at = text.size(); at > 3; at -= 3) text.insert(at - 3, ",");
  return text;
}

std::string whyNoMask(const MaskTextFault& fault, const std::string& text) {
  const std::string field = fieldText(fault.field);
  switch (fault.problem) {
    case MaskTextFault::Problem::Missing:
      if (fault.field == MaskTextFault::Field::Prefix) return noMaskText(text);
      return "the mask text ends before its " + field + "; it has to be \"SEG1|width|height|data\"";
    case MaskTextFault::Problem::NotANumber:
      return "the mask text's " + field + " is no number";
    case MaskTextFault::Problem::OutOfRange:
      return "the mask text's " + field + " is beyond 32 bits";
    case MaskTextFault::Problem::NotPositive:
      return "the mask text's " + field + " is not 1 or more";
    case MaskTextFault::Problem::TooShort:
      return "the mask text's data has " + grouped(fault.presentBytes) + " bytes, " +
             grouped(fault.neededBytes) + " are needed for " + sizeText(fault.width, fault.height);
  }
  return {};
}

std::string whyDropped(const Verdict& verdict, const seg_mask::DecisionSettings& settings,
                       render_base::FrameSize frame) {
  switch (verdict.outcome) {
    case Outcome::Drawn:
      return {};
    case Outcome::OverCap:
      return "max_overlay_dets is " + std::to_string(settings.maxOverlayDets) +
             ", and the frame has as many detections before this one";
    case Outcome::NotAnObject:
      return "it is no JSON object";
    case Outcome::LowScore:
      return "score " + numberText(verdict.detection->score) + " is below min_score " +
             numberText(settings.minScore);
    case Outcome::InvalidMask:
      return whyNoMask(verdict.fault, verdict.detection->class_info);
    case Outcome::BoxOutside:
      return outsideText(*verdict.detection, frame);
    case Outcome::NoPixelInBox:
      return "its mask has no pixel inside its box (" + boxText(*verdict.detection) +
             "); the mask spans the whole frame, the box only limits it";
  }
  return {};
}

std::string reasonOf(Outcome outcome) {
  switch (outcome) {
    case Outcome::Drawn:
      return {};
    case Outcome::OverCap:
      return "beyond max_overlay_dets";
    case Outcome::NotAnObject:
      return "no JSON object";
    case Outcome::LowScore:
      return "score below min_score";
    case Outcome::InvalidMask:
      return "no valid mask";
    case Outcome::BoxOutside:
      return "box outside the frame";
    case Outcome::NoPixelInBox:
      return "no pixel of the mask inside the box";
  }
  return {};
}

}  // namespace segmask
