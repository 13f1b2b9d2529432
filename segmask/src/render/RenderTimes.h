#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace segmask {

/// A histogram of durations with logarithmic buckets. Its size does not depend on the number of durations. A
/// bucket is 4.4 % wide, and a percentile is the middle of a bucket: within 3 % of the true value from 1
/// microsecond to an hour.
class RenderTimes {
 public:
  void add(double milliseconds);

  /// Adds all durations of another one.
  void add(const RenderTimes& other) { add(other.counts()); }
  void add(const std::vector<uint64_t>& counts);

  uint64_t count() const { return count_; }

  /// How many durations there are in each bucket, up to the last that has any.
  std::vector<uint64_t> counts() const;

  /// The duration in milliseconds that the part `fraction` (0 to 1) of all durations does not exceed; 0 when
  /// there are none.
  double percentile(double fraction) const;

  /// The durations from `from` to `to` milliseconds; each bar begins where the one before it ends.
  struct Bar {
    double from = 0;
    double to = 0;
    uint64_t count = 0;
  };

  /// The histogram from the shortest duration to the longest, in at most `most` (at least 1) bars of one
  /// width on a logarithmic scale, which are as narrow as that allows. Empty when there are no durations.
  std::vector<Bar> bars(std::size_t most) const;

 private:
  static constexpr std::size_t kBucketsPerOctave = 16;
  static constexpr std::size_t kBuckets = kBucketsPerOctave * 32;

  std::array<uint64_t, kBuckets> buckets_{};
  uint64_t count_ = 0;
};

}  // namespace segmask
