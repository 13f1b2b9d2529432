#pragma once

#include <gst/video/gstvideofilter.h>

/// The element `segmaskoverlay`: draws detections into NV12 frames in system memory, in place; a buffer that
/// others hold is copied first, as by every in-place transform. docs/gstreamer.md is its guide.
///
/// Its frames are numbered by stream time and frame rate, so a frame keeps its number after a seek. Without a
/// frame rate or a time stamp they are counted, from the segment's beginning on. Detections are those that
/// the file `location` has for the number, and those that came with the buffer (region_detections.h).
///
/// The plug-in is loaded when the element goes from READY to PAUSED and unloaded on the way back. What cannot
/// be used then fails that change of state, with an element error; an error while playing ends the stream.
G_BEGIN_DECLS
G_DECLARE_FINAL_TYPE(GstSegmaskOverlay, gst_segmask_overlay, GST, SEGMASK_OVERLAY, GstVideoFilter)
GST_ELEMENT_REGISTER_DECLARE(segmaskoverlay)
G_END_DECLS
