// From a mask text to the frame-sized mask that is uploaded: what a detection costs the host. Beside it, in
// the same run, the floor: the time that memset takes for the same frame; and what a user would write: the
// text decoded byte by byte, the bits made bytes one after another, and cv::resize on one thread. Results are
// compared before anything is timed.

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstring>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/random_mask.h"
#include "bench/silhouette.h"
#include "mask/mask_text.h"
#include "src/FrameMask.h"
#include "test_support/scalar_base64.h"
#include "test_support/scalar_frame_mask.h"

namespace {

using seg_mask::decodeMaskText;
using seg_mask::MaskBits;
using seg_mask_overlay::FrameMask;

struct Size {
  int width, height;
};

struct Work {
  Size mask, frame;
  std::string text;
};

MaskBits decoded(const std::string& text) {
  std::optional<MaskBits> mask = decodeMaskText(text);
  if (!mask) throw std::logic_error("the benchmark's own mask text is not valid");
  return *std::move(mask);
}

MaskBits plainDecoded(const Work& work) {
  const Size size = work.mask;
  const std::string_view data = std::string_view(work.text).substr(work.text.rfind('|') + 1);
  const auto pixels = static_cast<std::size_t>(size.width) * static_cast<std::size_t>(size.height);
  return {size.width, size.height, seg_mask::scalarDecodeBase64(data, (pixels + 7) / 8)};
}

cv::Mat plainMask(const Work& work) {
  return seg_mask::scalarFrameMask(plainDecoded(work), work.frame.width, work.frame.height);
}

void checkThatBothAgree(const Work& work) {
  FrameMask frameMask;
  const cv::Mat plain = plainMask(work);
  const unsigned char* ours = frameMask.fill(decoded(work.text), work.frame.width, work.frame.height);
  if (std::memcmp(ours, plain.data, plain.total()) != 0) throw std::runtime_error("the masks do not agree");
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

void textToFrameMask(benchmark::State& state, const Work& work) {
  FrameMask frameMask;
  for (auto _ : state) {
    benchmark::DoNotOptimize(frameMask.fill(decoded(work.text), work.frame.width, work.frame.height));
    benchmark::ClobberMemory();
  }
  setBytes(state, work.frame);
}

void decodeAndResize(benchmark::State& state, const Work& work) {
  for (auto _ : state) {
    benchmark::DoNotOptimize(plainMask(work).data);
    benchmark::ClobberMemory();
  }
  setBytes(state, work.frame);
}

/// Of bytes that are there already, into memory that is.
void resizeAlone(benchmark::State& state, const Work& work) {
  const cv::Mat pixels = seg_mask::scalarFrameMask(plainDecoded(work), work.mask.width, work.mask.height);
  cv::Mat frame;
  for (auto _ : state) {
    cv::resize(pixels, frame, cv::Size(work.frame.width, work.frame.height), 0, 0, cv::INTER_NEAREST);
    benchmark::ClobberMemory();
  }
  setBytes(state, work.frame);
}

std::string sizeText(Size size) {
  return std::to_string(size.width) + "x" + std::to_string(size.height);
}

void add(const std::string& kind, const std::string& text, Size mask, Size frame) {
  const Work work{mask, frame, text};
  checkThatBothAgree(work);
  const std::string name = kind + "/" + sizeText(mask) + "_to_" + sizeText(frame);
  const auto addOne = [&](const char* how, void (*run)(benchmark::State&, const Work&)) {
    benchmark::RegisterBenchmark((name + "/" + how).c_str(),
                                 [=](benchmark::State& state) { run(state, work); });
  };
  addOne("ours", textToFrameMask);
  addOne("decode_and_resize", decodeAndResize);
  addOne("resize_alone", resizeAlone);
}

void addScaling(Size mask, Size frame) {
  add("silhouette", bench::silhouetteText(mask.width, mask.height), mask, frame);
  add("random", bench::randomMaskText(mask.width, mask.height), mask, frame);
}

}  // namespace

int main(int argc, char** argv) {
  cv::setNumThreads(1);
  constexpr Size kFullHd{1920, 1080};
  constexpr Size kUltraHd{3840, 2160};
  for (const Size frame : {kFullHd, kUltraHd, Size{1280, 720}}) {
    benchmark::RegisterBenchmark(("memset/" + sizeText(frame)).c_str(), floorOfFrame, frame);
  }
  addScaling({160, 160}, kFullHd);
  addScaling({640, 640}, kFullHd);
  addScaling(kFullHd, kFullHd);
  addScaling({160, 160}, kUltraHd);
  addScaling(kFullHd, {1280, 720});
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
