#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>

namespace seg_mask {

/// The memory of one frame's masks. It is kept from frame to frame: releasing and allocating it for each
/// frame would cost more in page faults than decoding does. It is one block, so that a frame's masks are
/// adjacent.
///
/// Keeps at most twice what the largest of the last kFrames frames asked for. One thread at a time.
class MaskArena {
 public:
  static constexpr std::size_t kFrames = 16;

  /// Ends the life of everything allocated before and makes room for `bytes` bytes. Throws std::bad_alloc
  /// when memory runs out; the arena is empty then.
  void beginFrame(std::size_t bytes);

  /// Returns `bytes` uninitialised bytes out of the room of this frame, which must suffice. Valid until the
  /// next beginFrame.
  uint8_t* allocate(std::size_t bytes);

  /// Gives the last `bytes` bytes that were allocated back to the room of this frame.
  void giveBack(std::size_t bytes) { used_ -= bytes; }

  std::size_t capacity() const { return capacity_; }

 private:
  std::unique_ptr<uint8_t[]> block_;
  std::size_t capacity_ = 0;
  std::size_t used_ = 0;
  std::array<std::size_t, kFrames> asked_{};  ///< bytes that the last frames asked for
  std::size_t next_ = 0;                      ///< index of the oldest
};

}  // namespace seg_mask
