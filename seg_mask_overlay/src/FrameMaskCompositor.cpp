#include "src/FrameMaskCompositor.h"

#include <cuda_runtime.h>

#include <optional>

#include "seg_mask_overlay/seg_mask_cuda.h"

using render_base::FrameSize;
using render_base::LumaRect;
using seg_mask::OverlayItem;

namespace seg_mask_overlay {

FrameMaskCompositor::~FrameMaskCompositor() {
  if (d_mask_buf_) cudaFree(d_mask_buf_);
}

/// False when the device has no memory for `bytes`; the next frame tries again.
bool FrameMaskCompositor::reserveMaskBuffer(std::size_t bytes) {
  if (d_mask_buf_ && bytes <= d_mask_buf_bytes_) return true;
  if (d_mask_buf_) cudaFree(d_mask_buf_);
  d_mask_buf_ = nullptr;
  d_mask_buf_bytes_ = 0;

  void* buffer = nullptr;
  if (cudaMalloc(&buffer, bytes) != cudaSuccess) return false;
  d_mask_buf_ = buffer;
  d_mask_buf_bytes_ = bytes;
  return true;
}

void FrameMaskCompositor::draw(const MappedFrame& frame, const std::vector<OverlayItem>& items, float alpha) {
  const FrameSize size = frame.size;
  if (!reserveMaskBuffer(size.pixels())) return;
  const IRenderBackend::MappedPlanes& planes = frame.planes;
  auto* const deviceMask = static_cast<unsigned char*>(d_mask_buf_);

  for (const OverlayItem& item : items) {
    const std::optional<LumaRect> rect = render_base::clipBox(item.box, size);
    if (!rect) continue;
    // The copy has read the pageable host memory when it returns, and the stream runs it after the previous
    // item's kernels. So one host mask and one device buffer serve all items without waiting.
    const unsigned char* mask = frame_mask_.fill(item.mask, size.width, size.height);
    if (cudaMemcpyAsync(deviceMask, mask, size.pixels(), cudaMemcpyHostToDevice, planes.stream) !=
        cudaSuccess)
      return;
    seg_mask_cuda::launch_segmask_overlay_nv12(planes.y, planes.yPitch, planes.uv, planes.uvPitch, size.width,
                                               size.height, deviceMask, size.width, rect->x0, rect->y0,
                                               rect->x1, rect->y1, item.color.y, item.color.u, item.color.v,
                                               alpha, planes.stream);
  }
}

}  // namespace seg_mask_overlay
