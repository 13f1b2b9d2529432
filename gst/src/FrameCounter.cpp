#include "src/FrameCounter.h"

namespace segmask_gst {

void FrameCounter::setRate(int numerator, int denominator) {
  numerator_ = numerator > 0 && denominator > 0 ? static_cast<uint64_t>(numerator) : 0;
  denominator_ = numerator_ > 0 ? static_cast<uint64_t>(denominator) : 1;
}

void FrameCounter::begin(const GstSegment& segment) {
  const bool timed = segment.format == GST_FORMAT_TIME && GST_CLOCK_TIME_IS_VALID(segment.time);
  next_ = timed && numerator_ > 0 ? numberAt(segment.time) : 0;
}

uint64_t FrameCounter::next(const GstSegment& segment, GstClockTime timeStamp, GstClockTime duration) {
  guint64 time = 0;  // also of a frame that begins before the segment and reaches into it
  if (numerator_ > 0 && segment.format == GST_FORMAT_TIME && GST_CLOCK_TIME_IS_VALID(timeStamp) &&
      gst_segment_to_stream_time_full(&segment, GST_FORMAT_TIME, timeStamp, &time) > 0) {
    // A decoder cuts the frame that a seek ends up in; the middle of what is left lies in the same frame.
    const bool cut = timeStamp == segment.start && GST_CLOCK_TIME_IS_VALID(duration) && duration > 0 &&
                     duration < gst_util_uint64_scale(GST_SECOND, denominator_, numerator_);
    next_ = cut ? gst_util_uint64_scale(time + duration / 2, numerator_, denominator_ * GST_SECOND)
                : numberAt(time);
  }
  return next_++;
}

uint64_t FrameCounter::numberAt(GstClockTime streamTime) const {
  return gst_util_uint64_scale_round(streamTime, numerator_, denominator_ * GST_SECOND);
}

}  // namespace segmask_gst
