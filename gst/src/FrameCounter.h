#pragma once

#include <gst/gst.h>

#include <cstdint>

namespace segmask_gst {

/// Gives the frames of a stream their numbers, counted from 0 at stream time 0. One thread at a time.
class FrameCounter {
 public:
  /// The frame rate from now on; a numerator of 0 says that there is none.
  void setRate(int numerator, int denominator);

  /// A segment begins: frames without a time of their own are counted on from its first one.
  void begin(const GstSegment& segment);

  /// The number of the frame with this time stamp and duration, each GST_CLOCK_TIME_NONE if there is none:
  /// the nearest one by stream time and rate, or the one of which a decoder left the rest at the segment's
  /// start. Without a rate or a stream time, the one after the last.
  uint64_t next(const GstSegment& segment, GstClockTime timeStamp, GstClockTime duration);

 private:
  uint64_t numberAt(GstClockTime streamTime) const;

  uint64_t numerator_ = 0;
  uint64_t denominator_ = 1;
  uint64_t next_ = 0;
};

}  // namespace segmask_gst
