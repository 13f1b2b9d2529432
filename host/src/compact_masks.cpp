#include "host/compact_masks.h"

#include <string>

#include "core/SwJsonObject.h"
#include "host/CompactMask.h"
#include "io/UserError.h"

namespace segmask {
namespace {

/// Calls visit(detection, its compact mask) for each detection that has one. A UserError from the mask and
/// from `visit` gets the detection's place.
template <class Visit>
void forEachCompactMask(SwJsonArray& detections, render_base::FrameSize frame, const Visit& visit) {
  for (std::size_t i = 0; i < detections.size(); ++i) {
    SwJsonObject* const detection = detections[i].object();
    const SwJsonValue* const mask = detection ? detection->find("mask") : nullptr;
    if (!mask) continue;
    try {
      visit(*detection, CompactMask(*mask, frame));
    } catch (const UserError& error) {
      throw UserError("detections[" + std::to_string(i) + "]: " + error.what());
    }
  }
}

}  // namespace

/// All of them are looked at first, so that a list of many large masks is refused before the first of them
/// takes memory.
void expandCompactMasks(SwJsonArray& detections, render_base::FrameSize frame, int64_t& pixels) {
  forEachCompactMask(detections, frame, [&](SwJsonObject& detection, const CompactMask& mask) {
    if (detection.contains("class_info")) throw UserError(R"(both "class_info" and "mask")");
    if (pixels + mask.pixels() > kMostMaskPixels) {
      throw UserError("the frame's masks have more than " + std::to_string(kMostMaskPixels) +
                      " pixels together");
    }
    pixels += mask.pixels();
  });
  forEachCompactMask(detections, frame, [](SwJsonObject& detection, const CompactMask& mask) {
    detection.insert("class_info", SwJsonValue(mask.text()));
    detection.remove("mask");
  });
}

}  // namespace segmask
