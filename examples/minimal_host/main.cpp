// The smallest host: loads the plug-in, lets it draw one detection into one frame, and looks at two pixels.

#include <cuda_runtime_api.h>

#include <algorithm>
#include <class_loader/class_loader.hpp>
#include <cstdint>
#include <exception>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>
#include <unordered_map>
#include <vector>

#include "core/SwAny.h"
#include "render_base/IRenderPlugin.h"
#include "render_base/RenderContext.h"
#include "zelvo/DeviceRenderBackend.h"
#include "zelvo/ZelvoPicture.h"
#include "zelvo/ZelvoPicturePool.h"
#include "zelvo/transfer.h"

namespace {

constexpr int kWidth = 64;
constexpr int kHeight = 48;
constexpr unsigned char kGrey = 100;   // of the frame
constexpr unsigned char kGreen = 168;  // luma of the colour of class 5

void check(cudaError_t error) {
  if (error != cudaSuccess) throw std::runtime_error(std::string("CUDA: ") + cudaGetErrorString(error));
}

/// The frame's inputs: one detection whose mask has one pixel, which covers the whole box.
std::unordered_map<std::string, std::vector<RenderInput>> oneDetection() {
  RenderInput input;
  input.payload_type = "detection.v1";
  input.producer_id = "detector";
  input.payload =
      SwAny(std::string(R"({"detections": [{"x": 16, "y": 8, "w": 32, "h": 16, "class_id": 5, "score": 0.9,)"
                        R"( "class_info": "SEG1|1|1|AQ=="}]})"));
  return {{input.payload_type, {input}}};
}

/// A grey frame after the plug-in has drawn into it: its luma bytes, row by row, then its chroma.
std::vector<unsigned char> drawnFrame(IRenderPlugin& plugin, CUstream_st* stream) {
  std::vector<unsigned char> nv12(zelvo::packedNv12Bytes(kWidth, kHeight), 128);
  std::fill_n(nv12.begin(), kWidth * kHeight, kGrey);
  const auto source = std::make_shared<zelvo::ZelvoPicture>(kWidth, kHeight);
  zelvo::upload(*source, nv12.data(), stream);

  const RenderPayloadResolver resolver{[](uint64_t, const SwAny& stored) { return stored; }};
  const auto inputs = oneDetection();
  RenderContext context;
  context.frame_id = 1;
  context.payload_resolver = &resolver;
  context.inputs = &inputs;
  context.picture.source = source;
  context.picture.sourceId = 1;  // 0 would mean "unknown", and nothing could be copied
  context.picture.pool = std::make_shared<zelvo::ZelvoPicturePool>();

  plugin.render(context);  // queues its work and returns without waiting
  check(cudaStreamSynchronize(stream));
  zelvo::download(*context.picture.readable(), nv12.data(), stream);
  return nv12;
}

int run(const std::string& library) {
  cudaStream_t stream = nullptr;
  check(cudaStreamCreate(&stream));  // in order with the default stream, on which the pool copies
  zelvo::DeviceRenderBackend backend(stream);

  class_loader::ClassLoader loader(library);  // declared first, so that the instance is destroyed first
  const auto plugin = loader.createUniqueInstance<IRenderPlugin>("SegMaskOverlayPlugin");
  plugin->init(RenderInit{&backend});
  plugin->setConfig(R"({"alpha": 1.0})");

  const std::vector<unsigned char> frame = drawnFrame(*plugin, stream);
  const int inside = frame[12 * kWidth + 20];
  const int outside = frame[12 * kWidth + 10];
  std::cout << plugin->getName() << ": luma inside the box " << inside << ", beside it " << outside << '\n';
  check(cudaStreamDestroy(stream));
  return inside == kGreen && outside == kGrey ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: minimal_host libseg_mask_overlay.so\n";
    return 2;
  }
  try {
    return run(argv[1]);
  } catch (const std::exception& error) {
    std::cerr << "minimal_host: " << error.what() << '\n';
    return 1;
  }
}
