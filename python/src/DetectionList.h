#pragma once

#include <nanobind/nanobind.h>

#include "core/SwJsonArray.h"
#include "host/DetectionStream.h"
#include "host/ProducerInputs.h"
#include "render_base/geometry.h"

namespace segmask_python {

/// A list of detections, dicts with the members of the payload "detection.v1", as the plug-in would read it
/// from JSON: True and False are booleans, whole numbers integers, None is null; what has a `tolist`, like
/// NumPy's scalars and arrays, is what that gives. Elements that are no dicts stay in the list.
///
/// Throws TypeError for what is neither a list nor a tuple, for a member that JSON has no kind for and a name
/// that is no text; ValueError for an integer beyond 64 bits, a text that is no Unicode, and a compact mask
/// that is none; RecursionError for lists within lists without end.
SwJsonArray detectionArray(nanobind::handle detections);

/// The same as a producer's delivery for a frame of that size, with compact masks turned into their texts.
segmask::DetectionLine detectionLine(nanobind::handle detections, uint64_t frame,
                                     render_base::FrameSize size);

}  // namespace segmask_python
