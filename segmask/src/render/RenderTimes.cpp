#include "src/render/RenderTimes.h"

#include <algorithm>
#include <cmath>

namespace segmask {
namespace {

constexpr double kMicrosecondsPerMillisecond = 1000.0;

/// The duration in milliseconds at which a bucket begins, or within it by a fraction.
double millisecondsAt(double bucket, std::size_t bucketsPerOctave) {
  return std::exp2(bucket / static_cast<double>(bucketsPerOctave)) / kMicrosecondsPerMillisecond;
}

}  // namespace

void RenderTimes::add(double milliseconds) {
  const double microseconds = std::max(milliseconds * kMicrosecondsPerMillisecond, 1.0);
  const double bucket = std::log2(microseconds) * double{kBucketsPerOctave};
  ++buckets_[static_cast<std::size_t>(std::min(bucket, double{kBuckets - 1}))];
  ++count_;
}

void RenderTimes::add(const std::vector<uint64_t>& counts) {
  for (std::size_t i = 0; i < std::min(counts.size(), kBuckets); ++i) {
    buckets_[i] += counts[i];
    count_ += counts[i];
  }
}

std::vector<uint64_t> RenderTimes::counts() const {
  std::vector<uint64_t> counts(buckets_.begin(), buckets_.end());
  while (!counts.empty() && counts.back() == 0) counts.pop_back();
  return counts;
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
  return millisecondsAt(static_cast<double>(bucket) + 0.5, kBucketsPerOctave);
}

std::vector<RenderTimes::Bar> RenderTimes::bars(std::size_t most) const {
  std::vector<Bar> bars;
  if (count_ == 0) return bars;
  const auto isFilled = [](uint64_t count) { return count > 0; };
  const auto first = std::find_if(buckets_.begin(), buckets_.end(), isFilled);
  const auto last = std::find_if(buckets_.rbegin(), buckets_.rend(), isFilled).base();
  const auto width = (static_cast<std::size_t>(last - first) + most - 1) / most;
  auto begin = static_cast<std::size_t>(first - buckets_.begin());
  const auto end = static_cast<std::size_t>(last - buckets_.begin());
  for (; begin < end; begin += width) {
    Bar bar{millisecondsAt(static_cast<double>(begin), kBucketsPerOctave),
            millisecondsAt(static_cast<double>(begin + width), kBucketsPerOctave), 0};
    for (std::size_t i = begin; i < std::min(begin + width, end); ++i) bar.count += buckets_[i];
    bars.push_back(bar);
  }
  return bars;
}

}  // namespace segmask
