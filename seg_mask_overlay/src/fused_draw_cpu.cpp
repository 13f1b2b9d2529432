// The fused launch of the CPU device: queues the drawing of a packed frame as one host function.

#include <cuda_runtime.h>

#include "blend/fused_frame.h"
#include "blend/scalar_fused.h"

namespace seg_mask_overlay {
namespace {

void CUDART_CB drawUploaded(void* data) {
  scalarDrawFused(*static_cast<const FusedFrame*>(data));
}

}  // namespace

bool fusedNeedsTiles() {
  return false;
}

std::size_t fusedScratchBytes(FrameSize) {
  return 0;
}

void launchFusedFrame(const FusedFrame&, const FusedFrame* uploaded, CUstream_st* stream) {
  cudaLaunchHostFunc(stream, drawUploaded, const_cast<FusedFrame*>(uploaded));
}

}  // namespace seg_mask_overlay
