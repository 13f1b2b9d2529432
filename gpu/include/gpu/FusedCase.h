#pragma once

// A packed frame of several items, made without the plug-in's own packing, with its planes in one run of
// bytes, so that a whole comparison sees each byte that is written where none should be.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <random>
#include <vector>

#include "blend/fused_frame.h"
#include "gpu/DeviceBytes.h"

namespace gpu_check {

/// The parts of a packed frame, on the host.
struct FusedCase {
  seg_mask_overlay::FusedFrame frame{};  ///< without addresses
  std::vector<unsigned char> planes;     ///< both, with guard bytes before, between and behind them
  std::size_t y = 0, uv = 0;             ///< where the planes begin in these bytes
  std::vector<seg_mask_overlay::FusedItem> items;
  std::vector<int32_t> maps;
  std::vector<uint8_t> bits;
  std::vector<uint32_t> tileFirst, tileItems;
};

/// A frame of random bytes without items. Pitches have `spare` bytes beside a row's.
FusedCase emptyFused(int width, int height, int spare, float alpha, std::mt19937& random);

/// Adds an item of any colour with a mask of that size, stretched over the frame: one of `sparsity` of its
/// bits, chosen at random, is set. `rect` lies within the frame.
void addItem(FusedCase& frame, const seg_mask_overlay::LumaRect& rect, int maskWidth, int maskHeight,
             int sparsity, std::mt19937& random);

/// Makes the lists for tiles of that size, when all items are there.
void makeTiles(FusedCase& frame, int shift);

/// The frame with addresses of the case.
seg_mask_overlay::FusedFrame onHost(FusedCase& frame);

/// A copy of the case on the device, each part in an allocation of its own.
class FusedOnDevice {
 public:
  FusedOnDevice(const FusedCase& frame, cudaStream_t stream);

  /// The frame with addresses of the device.
  const seg_mask_overlay::FusedFrame& frame() const { return frame_; }

  /// The planes' bytes; waits for the stream.
  std::vector<unsigned char> planes(cudaStream_t stream) const { return planes_->download(stream); }

 private:
  template <class T>
  const T* copyOf(const std::vector<T>& part, cudaStream_t stream);

  std::unique_ptr<DeviceBytes> planes_;
  std::vector<std::unique_ptr<DeviceBytes>> parts_;
  seg_mask_overlay::FusedFrame frame_;
};

}  // namespace gpu_check
