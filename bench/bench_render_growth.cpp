// How the time of an item grows with the number of detections and with the size of the frame: beside the fill
// and the copy of width x height bytes that every item needs, measured at that size.

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstring>
#include <opencv2/core.hpp>
#include <string>
#include <vector>

#include "bench/Drawing.h"
#include "gpu/crowd.h"

namespace {

struct Size {
  int width;
  int height;
};

void render(benchmark::State& state, int count, Size size) {
  Drawing drawing(crowd::people(count, size.width, size.height));
  drawing.render();
  for (auto _ : state) drawing.render();
}

/// The fills and copies of as many items.
void fillAndCopy(benchmark::State& state, int count, Size size) {
  const std::size_t bytes = static_cast<std::size_t>(size.width) * static_cast<std::size_t>(size.height);
  std::vector<uint8_t> mask(bytes);
  std::vector<uint8_t> copied(bytes);
  for (auto _ : state) {
    for (int i = 0; i < count; ++i) {
      std::memset(mask.data(), i & 255, bytes);
      benchmark::ClobberMemory();
      std::memcpy(copied.data(), mask.data(), bytes);
      benchmark::ClobberMemory();
    }
  }
}

void add(const std::string& name, int count, Size size) {
  benchmark::RegisterBenchmark((name + "/ours").c_str(), render, count, size);
  benchmark::RegisterBenchmark((name + "/floor").c_str(), fillAndCopy, count, size);
}

}  // namespace

int main(int argc, char** argv) {
  cv::setNumThreads(1);
  for (const int count : {10, 30, 100, 300, 1000, 4096}) {
    add("detections/" + std::to_string(count), count, {crowd::kWidth, crowd::kHeight});
  }
  constexpr int kCount = 10;
  for (const Size size : {Size{640, 360}, Size{1280, 720}, Size{1920, 1080}, Size{2560, 1440},
                          Size{3840, 2160}, Size{7680, 4320}}) {
    add("size/" + std::to_string(size.width) + "x" + std::to_string(size.height), kCount, size);
  }
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
