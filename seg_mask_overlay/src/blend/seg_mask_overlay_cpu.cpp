// The launcher for the CPU device: queues the host's blend as host functions on the stream.

#include <cuda_runtime.h>

#include <memory>
#include <new>

#include "blend/host_blend.h"
#include "blend/launch_geometry.h"
#include "seg_mask_overlay/seg_mask_cuda.h"

namespace seg_mask_overlay {
namespace {

struct LumaLaunch {
  unsigned char* plane;
  int pitch;
  const unsigned char* mask;
  int maskPitch;
  LumaRect rect;
  unsigned char color;
  float alpha;

  void run() const { blendLuma(plane, pitch, mask, maskPitch, rect, color, alpha); }
};

struct ChromaLaunch {
  unsigned char* plane;
  int pitch;
  const unsigned char* mask;
  int maskPitch;
  ChromaRect rect;
  unsigned char colorU, colorV;
  float alpha;

  void run() const { blendChroma(plane, pitch, mask, maskPitch, rect, colorU, colorV, alpha); }
};

template <class Launch>
void CUDART_CB runLaunch(void* data) {
  const std::unique_ptr<Launch> launch(static_cast<Launch*>(data));
  launch->run();
}

/// Queues `launch`. Like a kernel launch, a failure is silent and skips this launch alone.
template <class Launch>
void enqueue(const Launch& launch, CUstream_st* stream) {
  std::unique_ptr<Launch> queued(new (std::nothrow) Launch(launch));
  if (queued && cudaLaunchHostFunc(stream, runLaunch<Launch>, queued.get()) == cudaSuccess) {
    static_cast<void>(queued.release());
  }
}

}  // namespace
}  // namespace seg_mask_overlay

void seg_mask_cuda::launch_segmask_overlay_nv12(unsigned char* yPlane, int yPitch, unsigned char* uvPlane,
                                                int uvPitch, int width, int height, const unsigned char* mask,
                                                int maskPitch, int x0, int y0, int x1, int y1,
                                                unsigned char colorY, unsigned char colorU,
                                                unsigned char colorV, float alpha, CUstream_st* stream) {
  using namespace seg_mask_overlay;
  const LumaRect luma = launchRect(yPlane, uvPlane, mask, width, height, {x0, y0, x1, y1});
  if (luma.empty()) return;
  enqueue(LumaLaunch{yPlane, yPitch, mask, maskPitch, luma, colorY, alpha}, stream);

  const ChromaRect chroma = chromaRect(luma);
  if (chroma.empty()) return;
  enqueue(ChromaLaunch{uvPlane, uvPitch, mask, maskPitch, chroma, colorU, colorV, alpha}, stream);
}
