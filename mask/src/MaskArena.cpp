#include "mask/MaskArena.h"

#include <algorithm>
#include <cassert>

namespace seg_mask {

void MaskArena::beginFrame(std::size_t bytes) {
  used_ = 0;
  asked_[next_] = bytes;
  next_ = (next_ + 1) % kFrames;
  const std::size_t most = *std::max_element(asked_.begin(), asked_.end());
  if (capacity_ >= bytes && capacity_ / 2 <= most) return;
  // The old block is freed first, so that the two never exist together.
  block_.reset();
  capacity_ = 0;
  if (most == 0) return;
  block_.reset(new uint8_t[most]);  // not std::make_unique, which would fill it
  capacity_ = most;
}

uint8_t* MaskArena::allocate(std::size_t bytes) {
  assert(bytes <= capacity_ - used_);
  uint8_t* const start = block_.get() + used_;
  used_ += bytes;
  return start;
}

}  // namespace seg_mask
