#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace segmask {

/// One small RGB picture, rows without gaps.
struct Tile {
  uint64_t frame = 0;
  std::vector<unsigned char> rgb;
};

/// Chooses a few pictures that are spread over a video of unknown length.
///
/// It keeps pictures that are at least a stride apart. Each time it has too many it drops every other one and
/// doubles the stride, so that at any moment the whole video so far is covered evenly.
class SpreadChoice {
 public:
  static constexpr std::size_t kMostKept = 8;

  /// Whether the picture of this frame would be kept. Frame numbers rise.
  bool wants(uint64_t frame) const { return kept_.empty() || frame - kept_.back().frame >= stride_; }

  /// Keeps a picture for which wants() has returned true.
  void add(Tile tile);

  /// At most `count` of the pictures, as far apart as possible, in the video's order. Owned by this object
  /// and valid until the next add().
  std::vector<const Tile*> pick(std::size_t count) const;

 private:
  std::vector<Tile> kept_;
  uint64_t stride_ = 1;
};

}  // namespace segmask
