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

uint64_t FrameCounter::next(const GstSegment& segment, GstClockTime timeStamp) {
  if (numerator_ > 0 && segment.format == GST_FORMAT_TIME && GST_CLOCK_TIME_IS_VALID(timeStamp)) {
    const guint64 streamTime = gst_segment_to_stream_time(&segment, GST_FORMAT_TIME, timeStamp);
    if (GST_CLOCK_TIME_IS_VALID(streamTime)) next_ = numberAt(streamTime);
  }
  return next_++;
}

uint64_t FrameCounter::numberAt(GstClockTime streamTime) const {
  return gst_util_uint64_scale_round(streamTime, numerator_, denominator_ * GST_SECOND);
}

}  // namespace segmask_gst
