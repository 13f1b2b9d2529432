#pragma once

#include <gst/gst.h>

#include <functional>
#include <optional>
#include <string>

#include "host/DetectionLineReader.h"
#include "render_base/geometry.h"

namespace segmask_gst {

/// The producer that detections which come with a buffer belong to.
inline constexpr char kRegionProducer[] = "buffer";

/// The detections of a buffer: of each of its GstVideoRegionOfInterestMeta that has a parameter structure
/// "detection", the box and the structure's fields "class-id" and "score", numbers, and "mask", a text: a
/// mask text, or one of the forms of segmask::CompactMask as JSON. What is missing or of another type is left
/// out, so the plug-in's rules for missing members apply. Nothing where the buffer has none.
///
/// A detection whose compact mask is none is left out; `refused` is called with the reason for each.
std::optional<segmask::DetectionLine> regionDetections(
    GstBuffer* buffer, render_base::FrameSize frame, const std::function<void(const std::string&)>& refused);

}  // namespace segmask_gst
