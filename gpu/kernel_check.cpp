// Whether the device draws what the host draws, byte for byte, and nothing else: the launcher and its kernels
// alone, so that a machine with a GPU, the CUDA toolkit and a compiler is enough.

#include <cuda_runtime.h>

#include <algorithm>
#include <memory>
#include <random>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "gpu/DeviceBytes.h"
#include "gpu/LaunchCase.h"
#include "gpu/check_program.h"

namespace {

using gpu_check::DeviceBytes;
using gpu_check::Effort;
using gpu_check::LaunchCase;
using gpu_check::MaskKind;
using gpu_check::Stream;
using render_base::LumaRect;
using Bytes = std::vector<unsigned char>;

struct Difference : std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// Throws Difference, naming plane and place of the first byte that differs.
void requireSame(const LaunchCase& launch, const Bytes& expected, const Bytes& actual) {
  if (expected == actual) return;
  const gpu_check::Layout layout = gpu_check::layoutOf(launch);
  std::size_t at = 0;
  while (expected[at] == actual[at]) ++at;
  std::ostringstream text;
  text << "byte " << at << " (luma from " << layout.y << ", chroma from " << layout.uv << ", mask from "
       << layout.mask << ") is " << int{actual[at]} << ", the host has " << int{expected[at]} << "; "
       << launch;
  throw Difference(text.str());
}

/// Draws on the device and on the host and compares all bytes.
void check(const LaunchCase& launch, Bytes bytes, cudaStream_t stream) {
  DeviceBytes device(bytes.size());
  device.upload(bytes, stream);
  gpu_check::launchOnDevice(launch, gpu_check::planesIn(device.get(), launch), stream);
  gpu_check::require(cudaGetLastError(), "launching");
  gpu_check::blendOnHost(launch, bytes);
  requireSame(launch, bytes, device.download(stream));
}

constexpr MaskKind kMasks[] = {MaskKind::random, MaskKind::sparse, MaskKind::full};

// Every rectangle whose corners lie in or just outside a small frame, empty ones included.
int everyRectangle(const Effort& effort) {
  std::mt19937 random(effort.seed);
  const Stream stream;
  int cases = 0;
  const auto sweep = [&](int width, int height) {
    LaunchCase launch = gpu_check::wholeFrame(width, height, 0.45F);
    launch.colorY = 200;
    launch.colorU = 20;
    launch.colorV = 90;
    for (launch.rect.y0 = -1; launch.rect.y0 <= height; ++launch.rect.y0) {
      for (launch.rect.y1 = -1; launch.rect.y1 <= height; ++launch.rect.y1) {
        for (launch.rect.x0 = -1; launch.rect.x0 <= width; ++launch.rect.x0) {
          for (launch.rect.x1 = -1; launch.rect.x1 <= width; ++launch.rect.x1, ++cases) {
            check(launch, gpu_check::randomBytes(launch, MaskKind::random, random), stream.get());
          }
        }
      }
    }
  };
  sweep(1, 1);
  sweep(3, 5);
  if (!effort.quick) sweep(6, 4);
  return cases;
}

// Every old value under every colour, at every weight: each chroma row is drawn in its own colour.
int everyByte(const Effort& effort) {
  std::mt19937 random(effort.seed);
  const Stream stream;
  const int colours = 256;
  for (const float alpha : gpu_check::alphas()) {
    LaunchCase launch = gpu_check::wholeFrame(512, 2 * colours, alpha);
    Bytes bytes = gpu_check::randomBytes(launch, MaskKind::full, random);
    const gpu_check::Layout layout = gpu_check::layoutOf(launch);
    for (std::size_t i = 0; i < layout.uv - layout.y; ++i)
      bytes[layout.y + i] = static_cast<unsigned char>(i);
    for (std::size_t i = 0; i < layout.mask - layout.uv; ++i)
      bytes[layout.uv + i] = static_cast<unsigned char>(i / 2);
    DeviceBytes device(bytes.size());
    device.upload(bytes, stream.get());
    for (int colour = 0; colour < colours; ++colour) {
      launch.rect = {0, 2 * colour, 511, 2 * colour + 1};
      launch.colorY = launch.colorU = static_cast<unsigned char>(colour);
      launch.colorV = static_cast<unsigned char>(255 - colour);
      gpu_check::launchOnDevice(launch, gpu_check::planesIn(device.get(), launch), stream.get());
      gpu_check::blendOnHost(launch, bytes);
    }
    requireSame(launch, bytes, device.download(stream.get()));
  }
  return static_cast<int>(gpu_check::alphas().size()) * colours * 256 * 3;
}

int randomSmallFrames(const Effort& effort) {
  std::mt19937 random(effort.seed);
  const Stream stream;
  const int cases = effort.of(6000);
  for (int i = 0; i < cases; ++i) {
    const LaunchCase launch = gpu_check::randomCase(random, i % 2 == 0 ? 20 : 200);
    check(launch, gpu_check::randomBytes(launch, kMasks[i % 3], random), stream.get());
  }
  return cases;
}

/// The part of `bytes` from `from` on that a plane of `rows` rows needs, without the last row's spare
/// columns.
Bytes plane(const Bytes& bytes, std::size_t from, int pitch, int rows, int rowBytes) {
  const auto begin = bytes.begin() + static_cast<std::ptrdiff_t>(from);
  return {begin, begin + std::ptrdiff_t{pitch} * (rows - 1) + rowBytes};
}

// Planes and mask in allocations of their own that end with their last sample, so that a memory checker sees
// a read past them too.
int exactAllocations(const Effort& effort) {
  std::mt19937 random(effort.seed);
  const Stream stream;
  const int cases = effort.of(1000);
  for (int i = 0; i < cases; ++i) {
    const LaunchCase launch = gpu_check::randomCase(random, 40);
    const auto [width, height] = launch.frame;
    const int pairBytes = 2 * ((width + 1) / 2);
    const int pairRows = (height + 1) / 2;
    Bytes bytes = gpu_check::randomBytes(launch, kMasks[i % 3], random);
    const gpu_check::Layout layout = gpu_check::layoutOf(launch);
    const auto allocate = [&](std::size_t from, int pitch, int rows, int rowBytes) {
      const Bytes part = plane(bytes, from, pitch, rows, rowBytes);
      auto device = std::make_unique<DeviceBytes>(part.size());
      device->upload(part, stream.get());
      return device;
    };
    const auto y = allocate(layout.y, launch.yPitch, height, width);
    const auto uv = allocate(layout.uv, launch.uvPitch, pairRows, pairBytes);
    const auto mask = allocate(layout.mask, launch.maskPitch, height, width);
    gpu_check::launchOnDevice(launch, {y->get(), uv->get(), mask->get()}, stream.get());
    gpu_check::blendOnHost(launch, bytes);
    if (y->download(stream.get()) != plane(bytes, layout.y, launch.yPitch, height, width) ||
        uv->download(stream.get()) != plane(bytes, layout.uv, launch.uvPitch, pairRows, pairBytes)) {
      std::ostringstream text;
      text << "a plane differs; " << launch;
      throw Difference(text.str());
    }
  }
  return cases;
}

int largeFrames(const Effort& effort) {
  std::mt19937 random(effort.seed);
  const Stream stream;
  std::vector<LaunchCase> launches{gpu_check::wholeFrame(1920, 1080, 0.45F)};
  if (!effort.quick) {
    launches.push_back(gpu_check::wholeFrame(3840, 2160, 0.45F));
    launches.push_back(gpu_check::wholeFrame(4095, 2161, 1.5F));
    launches.push_back(gpu_check::wholeFrame(8191, 1, 0.5F));
    launches.push_back(gpu_check::wholeFrame(1, 8191, 0.5F));
  }
  for (const LaunchCase& launch : launches) {
    check(launch, gpu_check::randomBytes(launch, MaskKind::random, random), stream.get());
  }
  return static_cast<int>(launches.size());
}

/// What one plug-in instance has: a stream, one mask on the device for all items, one on the host.
struct Instance {
  Instance(const LaunchCase& frame, std::mt19937& random)
      : launch(frame),
        bytes(gpu_check::randomBytes(frame, MaskKind::random, random)),
        device(bytes.size()),
        mask(static_cast<std::size_t>(frame.maskPitch) * static_cast<std::size_t>(frame.frame.height)) {
    device.upload(bytes, stream.get());
  }

  LaunchCase launch;
  Bytes bytes;
  Stream stream;
  DeviceBytes device;
  Bytes mask;

  /// Queues one item: its mask over the last one's, then the launch. The host's mask is spoilt at once.
  void drawItem(std::mt19937& random) {
    const LaunchCase item = gpu_check::randomCase(random, launch.frame.width);
    launch.rect = {item.rect.x0, item.rect.y0, item.rect.x1, item.rect.y1};
    launch.colorY = item.colorY;
    launch.colorU = item.colorU;
    launch.colorV = item.colorV;
    launch.alpha = 0.45F;
    for (unsigned char& byte : mask) byte = static_cast<unsigned char>(random() % 3 == 0 ? 255 : 0);
    const std::size_t at = gpu_check::layoutOf(launch).mask;
    gpu_check::require(
        cudaMemcpyAsync(device.get() + at, mask.data(), mask.size(), cudaMemcpyHostToDevice, stream.get()),
        "uploading a mask");
    gpu_check::launchOnDevice(launch, gpu_check::planesIn(device.get(), launch), stream.get());
    std::copy(mask.begin(), mask.end(), bytes.begin() + static_cast<std::ptrdiff_t>(at));
    gpu_check::blendOnHost(launch, bytes);
    std::fill(mask.begin(), mask.end(), static_cast<unsigned char>(170));
  }
};

// Items queued one behind the other on the streams of several instances, without anybody waiting: stream
// order alone keeps an item's mask from its neighbours, and instances from each other.
int itemsInFlight(const Effort& effort) {
  std::mt19937 random(effort.seed);
  std::vector<std::unique_ptr<Instance>> instances;
  for (int i = 0; i < 8; ++i) {
    instances.push_back(std::make_unique<Instance>(gpu_check::wholeFrame(640 + i, 361, 0.45F), random));
  }
  const int rounds = effort.of(200);
  for (int round = 0; round < rounds; ++round) {
    for (const auto& instance : instances) instance->drawItem(random);
  }
  for (const auto& instance : instances) {
    requireSame(instance->launch, instance->bytes, instance->device.download(instance->stream.get()));
  }
  return rounds * static_cast<int>(instances.size());
}

}  // namespace

int main(int argc, char** argv) {
  return gpu_check::checkProgram("kernel_check",
                                 {{"every rectangle of a small frame", everyRectangle},
                                  {"every byte under every colour at every weight", everyByte},
                                  {"random rectangles, pitches, odd sizes and weights", randomSmallFrames},
                                  {"planes that end with their memory", exactAllocations},
                                  {"large frames", largeFrames},
                                  {"items in flight on eight streams", itemsInFlight}},
                                 argc, argv);
}
