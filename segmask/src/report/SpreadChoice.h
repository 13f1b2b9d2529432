#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace segmask {

/// Chooses a few pictures that are spread over a video of unknown length. A `Picture` has the number of its
/// frame as its member `frame`.
///
/// It keeps pictures that are at least a stride apart. Each time it has too many it drops every other one and
/// doubles the stride, so that at any moment the whole video so far is covered evenly.
template <class Picture>
class SpreadChoice {
 public:
  static constexpr std::size_t kMostKept = 8;

  /// Whether the picture of this frame would be kept. Frame numbers rise.
  bool wants(uint64_t frame) const { return kept_.empty() || frame - kept_.back().frame >= stride_; }

  /// Keeps a picture for which wants() has returned true.
  void add(Picture picture) {
    kept_.push_back(std::move(picture));
    if (kept_.size() <= kMostKept) return;
    for (std::size_t i = 1; 2 * i < kept_.size(); ++i) kept_[i] = std::move(kept_[2 * i]);
    kept_.resize((kept_.size() + 1) / 2);
    stride_ *= 2;
  }

  /// At most `count` of the pictures, as far apart as possible, in the video's order. Owned by this object
  /// and valid until the next add().
  std::vector<const Picture*> pick(std::size_t count) const {
    const std::size_t picked = std::min(count, kept_.size());
    std::vector<const Picture*> pictures;
    for (std::size_t i = 0; i < picked; ++i) {
      // From the first to the last, rounded to the nearest.
      const std::size_t gaps = picked - 1;
      const std::size_t index = gaps == 0 ? 0 : (i * (kept_.size() - 1) + gaps / 2) / gaps;
      pictures.push_back(&kept_[index]);
    }
    return pictures;
  }

 private:
  std::vector<Picture> kept_;
  uint64_t stride_ = 1;
};

}  // namespace segmask
