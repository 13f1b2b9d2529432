#include "src/RenderTimes.h"

#include <algorithm>
#include <cmath>

namespace segmask {
namespace {

constexpr double kMicrosecondsPerMillisecond = 1000.0;

}  // namespace

void RenderTimes::add(double milliseconds) {
  const double microseconds = std::max(milliseconds * kMicrosecondsPerMillisecond, 1.0);
  const double bucket = std::log2(microseconds) * double{kBucketsPerOctave};
  ++buckets_[static_cast<std::size_t>(std::min(bucket, double{kBuckets - 1}))];
  ++count_;
}

double RenderTimes::percentile(double fraction) const {
  if (count_ == 0) return 0.0;
  const double rank = std::max(std::ceil(fraction * static_cast<double>(count_)), 1.0);
  uint64_t seen = 0;
  std::size_t bucket = 0;
  for (; bucket + 1 < kBuckets; ++bucket) {
    seen += buckets_[bucket];
    if (static_cast<double>(seen) >= rank) break;
  }
  const double middle = (static_cast<double>(bucket) + 0.5) / double{kBucketsPerOctave};
  return std::exp2(middle) / kMicrosecondsPerMillisecond;
}

}  // namespace segmask
