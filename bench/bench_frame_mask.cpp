// From a mask text to the frame-sized mask that is uploaded: what a detection costs the host. The floor
// beside it is the time that memset takes for the same frame, measured in the same run.

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstring>
#include <opencv2/core.hpp>
#include <stdexcept>
#include <string>
#include <vector>

#include "FrameMask.h"
#include "mask_text.h"
#include "silhouette.h"

namespace {

using seg_mask_overlay::decodeMaskText;
using seg_mask_overlay::FrameMask;
using seg_mask_overlay::MaskBits;

struct Size {
  int width, height;
};

MaskBits decoded(const std::string& text) {
  std::optional<MaskBits> mask = decodeMaskText(text);
  if (!mask) throw std::logic_error("the benchmark's own mask text is not valid");
  return *std::move(mask);
}

void setBytes(benchmark::State& state, Size frame) {
  state.SetBytesProcessed(state.iterations() * int64_t{frame.width} * frame.height);
}

void floorOfFrame(benchmark::State& state, Size frame) {
  std::vector<unsigned char> bytes(static_cast<std::size_t>(frame.width) *
                                   static_cast<std::size_t>(frame.height));
  for (auto _ : state) {
    std::memset(bytes.data(), 255, bytes.size());
    benchmark::ClobberMemory();
  }
  setBytes(state, frame);
}

void textToFrameMask(benchmark::State& state, Size size, Size frame) {
  const std::string text = bench::silhouetteText(size.width, size.height);
  FrameMask frameMask;
  for (auto _ : state) {
    benchmark::DoNotOptimize(frameMask.fill(decoded(text), frame.width, frame.height));
    benchmark::ClobberMemory();
  }
  setBytes(state, frame);
}

}  // namespace

int main(int argc, char** argv) {
  cv::setNumThreads(1);
  constexpr Size kFullHd{1920, 1080};
  constexpr Size kUltraHd{3840, 2160};
  benchmark::RegisterBenchmark("memset/1920x1080", floorOfFrame, kFullHd);
  benchmark::RegisterBenchmark("text_to_mask/160x160_to_1920x1080", textToFrameMask, Size{160, 160}, kFullHd);
  benchmark::RegisterBenchmark("text_to_mask/640x640_to_1920x1080", textToFrameMask, Size{640, 640}, kFullHd);
  benchmark::RegisterBenchmark("text_to_mask/1920x1080_as_it_is", textToFrameMask, kFullHd, kFullHd);
  benchmark::RegisterBenchmark("memset/3840x2160", floorOfFrame, kUltraHd);
  benchmark::RegisterBenchmark("text_to_mask/160x160_to_3840x2160", textToFrameMask, Size{160, 160},
                               kUltraHd);
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
