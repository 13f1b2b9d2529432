#include "fuzz/Canvas.h"

#include <cuda_runtime.h>

#include <cstring>
#include <string>

#include "fuzz/fuzz_target.h"
#include "test_support/scene.h"

namespace fuzz {
namespace {

constexpr std::size_t kMargin = 64;

}  // namespace

Canvas::Plane::Plane(int rowBytes, int rows, int extra) : pitch(rowBytes + extra) {
  const std::size_t bytes = static_cast<std::size_t>(pitch) * static_cast<std::size_t>(rows) + 2 * kMargin;
  expected.resize(bytes);
  for (std::size_t i = 0; i < bytes; ++i) expected[i] = static_cast<std::uint8_t>(i * 31 % 251);
  void* allocated = nullptr;
  fuzz::check(cudaMalloc(&allocated, bytes) == cudaSuccess, "memory for a plane");
  memory = static_cast<unsigned char*>(allocated);
  std::memcpy(memory, expected.data(), bytes);
}

Canvas::Plane::~Plane() {
  cudaFree(memory);
}

unsigned char* Canvas::Plane::samples() const {
  return memory + kMargin;
}

void Canvas::Plane::check(const char* what) const {
  if (std::memcmp(memory, expected.data(), expected.size()) == 0) return;
  std::size_t at = 0;
  while (memory[at] == expected[at]) ++at;
  const auto offset = static_cast<std::ptrdiff_t>(at) - static_cast<std::ptrdiff_t>(kMargin);
  fail(std::string(what) + " at byte " + std::to_string(offset) + " of pitch " + std::to_string(pitch) +
       ": is " + std::to_string(memory[at]) + ", expected " + std::to_string(expected[at]));
}

Canvas::Canvas(Size frame, int yExtra, int uvExtra)
    : frame_(frame),
      luma_(frame.width, frame.height, yExtra),
      chroma_(scene::chromaRowBytes(frame.width), scene::chromaRows(frame.height), uvExtra) {}

Canvas::~Canvas() = default;

IRenderBackend::MappedPlanes Canvas::planes() const {
  IRenderBackend::MappedPlanes planes;
  planes.y = luma_.samples();
  planes.uv = chroma_.samples();
  planes.yPitch = luma_.pitch;
  planes.uvPitch = chroma_.pitch;
  return planes;
}

model::Planes Canvas::expected() {
  return {frame_.width,
          frame_.height,
          luma_.expected.data() + kMargin,
          luma_.pitch,
          chroma_.expected.data() + kMargin,
          chroma_.pitch};
}

void Canvas::check() const {
  luma_.check("the luma plane");
  chroma_.check("the chroma plane");
}

cudaStream_t theStream() {
  static const cudaStream_t stream = [] {
    cudaStream_t made = nullptr;
    check(cudaStreamCreateWithFlags(&made, cudaStreamNonBlocking) == cudaSuccess, "a stream");
    return made;
  }();
  return stream;
}

}  // namespace fuzz
