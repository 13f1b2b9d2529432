#include "src/FusedCompositor.h"

#include <cuda_runtime.h>

#include "blend/fused_frame.h"

namespace seg_mask_overlay {

void FusedCompositor::draw(const MappedFrame& frame, const std::vector<seg_mask::OverlayItem>& items,
                           float alpha) {
  const std::size_t bytes = packer_.plan(frame, items, alpha);
  if (bytes == 0) return;
  StagingBuffers::Buffer* const staging = staging_.acquire(bytes);
  if (!staging) return;
  if (!device_.reserve(bytes + fusedScratchBytes(frame.size))) return;
  unsigned char* const device = device_.bytes();
  const FusedFrame packed = packer_.write(staging->bytes(), device, device + bytes);

  cudaStream_t stream = frame.planes.stream;
  if (cudaMemcpyAsync(device, staging->bytes(), bytes, cudaMemcpyHostToDevice, stream) != cudaSuccess) return;
  launchFusedFrame(packed, reinterpret_cast<const FusedFrame*>(device), stream);
  staging_.guard(*staging, stream);
}

}  // namespace seg_mask_overlay
