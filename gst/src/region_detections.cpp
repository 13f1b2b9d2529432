#include "src/region_detections.h"

#include <gst/video/gstvideometa.h>

#include <memory>
#include <utility>

#include "core/SwJsonArray.h"
#include "core/SwJsonDocument.h"
#include "host/compact_masks.h"
#include "io/UserError.h"

namespace segmask_gst {
namespace {

/// The number in a field of any of GLib's numeric types, as JSON has it; null otherwise.
SwJsonValue numberIn(const GstStructure* structure, const char* field) {
  const GValue* const value = gst_structure_get_value(structure, field);
  if (!value) return {};
  GValue converted = G_VALUE_INIT;
  const bool isFloating = G_VALUE_HOLDS_DOUBLE(value) || G_VALUE_HOLDS_FLOAT(value);
  g_value_init(&converted, isFloating ? G_TYPE_DOUBLE : G_TYPE_INT64);
  SwJsonValue number;
  if (G_VALUE_HOLDS_STRING(value) || !g_value_transform(value, &converted)) {
    number = {};
  } else if (isFloating) {
    number = SwJsonValue(g_value_get_double(&converted));
  } else {
    number = SwJsonValue(static_cast<long long>(g_value_get_int64(&converted)));
  }
  g_value_unset(&converted);
  return number;
}

/// A mask text as it is; an object of JSON as "mask", which the caller turns into the text.
void insertMask(SwJsonObject& detection, const std::string& mask) {
  if (mask.empty() || mask.front() != '{') {
    detection.insert("class_info", mask);
    return;
  }
  SwJsonDocument document;
  SwString error;
  if (!document.loadFromJson(mask, error)) throw segmask::UserError("mask: not JSON: " + error.str());
  detection.insert("mask", document.takeRoot());
}

SwJsonArray detectionOf(const GstVideoRegionOfInterestMeta& region, const GstStructure* structure,
                        render_base::FrameSize frame, int64_t& maskPixels) {
  SwJsonObject detection;
  detection.insert("x", static_cast<long long>(region.x));
  detection.insert("y", static_cast<long long>(region.y));
  detection.insert("w", static_cast<long long>(region.w));
  detection.insert("h", static_cast<long long>(region.h));
  for (const auto& [field, member] : {std::pair{"class-id", "class_id"}, std::pair{"score", "score"}}) {
    SwJsonValue number = numberIn(structure, field);
    if (!number.isNull()) detection.insert(member, std::move(number));
  }
  const char* const mask = gst_structure_get_string(structure, "mask");
  if (mask) insertMask(detection, mask);
  SwJsonArray one;
  one.append(std::move(detection));
  segmask::expandCompactMasks(one, frame, maskPixels);
  return one;
}

}  // namespace

std::optional<segmask::DetectionLine> regionDetections(
    GstBuffer* buffer, render_base::FrameSize frame, const std::function<void(const std::string&)>& refused) {
  SwJsonArray detections;
  int64_t maskPixels = 0;
  bool isAny = false;
  gpointer state = nullptr;
  while (const GstMeta* const meta =
             gst_buffer_iterate_meta_filtered(buffer, &state, GST_VIDEO_REGION_OF_INTEREST_META_API_TYPE)) {
    // The metadata of this type begins with its GstMeta.
    auto* const region = reinterpret_cast<GstVideoRegionOfInterestMeta*>(const_cast<GstMeta*>(meta));
    const GstStructure* const structure = gst_video_region_of_interest_meta_get_param(region, "detection");
    if (!structure) continue;
    isAny = true;
    try {
      detections.append(detectionOf(*region, structure, frame, maskPixels)[0]);
    } catch (const segmask::UserError& error) {
      refused(error.what());
    }
  }
  if (!isAny) return std::nullopt;
  segmask::DetectionLine line;
  line.producer = kRegionProducer;
  line.detections = detections.size();
  SwJsonObject payload;
  payload.insert("detections", std::move(detections));
  line.payload.object = std::make_shared<const SwJsonObject>(std::move(payload));
  return line;
}

}  // namespace segmask_gst
