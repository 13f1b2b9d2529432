// The fused launch of the CPU device: queues the drawing of a packed frame as one host function.

#include <cuda_runtime.h>

#include <array>

#include "blend/fused_frame.h"
#include "src/ItemPainter.h"

namespace seg_mask_overlay {
namespace {

/// The blends of the colours that were used last. Making one takes as long as drawing a small box, and a
/// frame has few colours.
class ColorBlends {
 public:
  ColorBlends(float alpha, const SimdTarget* target) : alpha_(alpha), target_(target) {}

  const ColorBlend& of(const FusedItem& item) {
    Entry& entry = entries_[(item.colorY ^ item.colorU ^ item.colorV) % kEntries];
    if (!entry.made || entry.y != item.colorY || entry.u != item.colorU || entry.v != item.colorV) {
      entry.blend = {makeChannelBlend(item.colorY, alpha_, target_),
                     makeChannelBlend(item.colorU, alpha_, target_),
                     makeChannelBlend(item.colorV, alpha_, target_)};
      entry.y = item.colorY;
      entry.u = item.colorU;
      entry.v = item.colorV;
      entry.made = true;
    }
    return entry.blend;
  }

 private:
  static constexpr std::size_t kEntries = 16;
  struct Entry {
    bool made = false;
    unsigned char y, u, v;
    ColorBlend blend;
  };

  const float alpha_;
  const SimdTarget* const target_;
  std::array<Entry, kEntries> entries_;
};

void CUDART_CB drawUploaded(void* data) {
  const auto& frame = *static_cast<const FusedFrame*>(data);
  const SimdTarget* const target = fastestSimdTarget();
  ColorBlends blends(frame.alpha, target);
  for (uint32_t i = 0; i < frame.itemCount; ++i) {
    const FusedItem& item = frame.items[i];
    ItemPainter(frame, item, blends.of(item), target).draw();
  }
}

}  // namespace

bool fusedNeedsTiles() {
  return false;
}

std::size_t fusedScratchBytes(FrameSize size) {
  return ItemPainter::scratchBytes(size.width);
}

void launchFusedFrame(const FusedFrame&, const FusedFrame* uploaded, CUstream_st* stream) {
  cudaLaunchHostFunc(stream, drawUploaded, const_cast<FusedFrame*>(uploaded));
}

}  // namespace seg_mask_overlay
