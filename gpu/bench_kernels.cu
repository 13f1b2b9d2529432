// What drawing one mask, or all items of a frame at once, costs on the GPU, beside the time that its bytes
// need at the card's own copy bandwidth and, for one mask, beside two ways to do the same that are nearer at
// hand. Frames and places in them take turns, so that the bytes come from memory and not from a cache.

#include <cuda_runtime.h>
#include <thrust/execution_policy.h>
#include <thrust/for_each.h>
#include <thrust/iterator/counting_iterator.h>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <functional>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "blend/nv12_blend.h"
#include "gpu/DeviceBytes.h"
#include "gpu/FusedCase.h"
#include "gpu/LaunchCase.h"
#include "gpu/report.h"

namespace {

using gpu_check::DeviceBytes;
using gpu_check::FusedCase;
using gpu_check::FusedOnDevice;
using gpu_check::LaunchCase;
using gpu_check::Planes;
using gpu_check::require;
using gpu_check::Stream;
using render_base::LumaRect;
using seg_mask_overlay::ChromaRect;
using Bytes = std::vector<unsigned char>;

constexpr int kSkipped = 77;
constexpr int kRepetitions = 21;
constexpr std::size_t kSpread = 256U << 20;  // bytes of all frames together: several times most caches

/// Median microseconds of one `action` on the stream, from runs of `actions` of them.
double gpuTime(cudaStream_t stream, int actions, const std::function<void(int)>& action) {
  cudaEvent_t begin{};
  cudaEvent_t end{};
  require(cudaEventCreate(&begin), "making an event");
  require(cudaEventCreate(&end), "making an event");
  std::vector<double> times;
  for (int repetition = -2; repetition < kRepetitions; ++repetition) {  // the first two warm up
    require(cudaEventRecord(begin, stream), "recording an event");
    for (int i = 0; i < actions; ++i) action(i);
    require(cudaEventRecord(end, stream), "recording an event");
    require(cudaEventSynchronize(end), "waiting for an event");
    float milliseconds = 0.0F;
    require(cudaEventElapsedTime(&milliseconds, begin, end), "reading an event");
    if (repetition >= 0) times.push_back(1e3 * static_cast<double>(milliseconds) / actions);
  }
  cudaEventDestroy(begin);
  cudaEventDestroy(end);
  return gpu_check::median(times);
}

/// Bytes a microsecond that a copy within the card's memory reads and writes.
double copyBandwidth(cudaStream_t stream) {
  DeviceBytes from(kSpread);
  DeviceBytes to(kSpread);
  const double time = gpuTime(stream, 4, [&](int) {
    require(cudaMemcpyAsync(to.get(), from.get(), kSpread, cudaMemcpyDeviceToDevice, stream), "copying");
  });
  return 2.0 * static_cast<double>(kSpread) / time;
}

__global__ void emptyKernel() {}

/// What two kernels cost that do nothing: no pair of launches is faster, however few its bytes are.
double launchFloor(cudaStream_t stream) {
  const double time = gpuTime(stream, 200, [&](int) {
    emptyKernel<<<1, 1, 0, stream>>>();
    emptyKernel<<<1, 1, 0, stream>>>();
  });
  require(cudaGetLastError(), "launching an empty kernel");
  return time;
}

enum class Shape { full, person };

struct Workload {
  const char* name;
  LaunchCase launch;
  Shape shape;
};

/// Whether a pixel at (x, y) from the box's corner is set: all of it, or an upright ellipse, about as much as
/// a person fills.
bool isInside(const Workload& work, int x, int y) {
  if (work.shape == Shape::full) return true;
  const LumaRect& box = work.launch.rect;
  const double dx = (2.0 * x + 1.0) / (box.x1 - box.x0 + 1) - 1.0;
  const double dy = (2.0 * y + 1.0) / (box.y1 - box.y0 + 1) - 1.0;
  return dx * dx + dy * dy <= 1.0;
}

/// The mask of the box, side by side over the whole frame, so that it is the same at every place of
/// `places()`.
void fillMask(const Workload& work, Bytes& bytes) {
  const LaunchCase& launch = work.launch;
  const LumaRect& box = launch.rect;
  unsigned char* mask = gpu_check::planesIn(bytes.data(), launch).mask;
  for (int y = 0; y < launch.frame.height; ++y) {
    for (int x = 0; x < launch.frame.width; ++x) {
      const bool inside = isInside(work, x % (box.x1 + 1), y % (box.y1 + 1));
      mask[seg_mask_overlay::sampleOffset(y, launch.maskPitch, x)] = inside ? 255 : 0;
    }
  }
}

/// The launch with its box, which lies in the frame's corner, moved to each place beside and below.
std::vector<LaunchCase> places(const LaunchCase& first) {
  std::vector<LaunchCase> launches;
  const int width = first.rect.x1 + 1;
  const int height = first.rect.y1 + 1;
  for (int y = 0; y + height <= first.frame.height; y += height) {
    for (int x = 0; x + width <= first.frame.width; x += width) {
      launches.push_back(first);
      launches.back().rect = {x, y, x + width - 1, y + height - 1};
    }
  }
  return launches;
}

/// The box's mask bytes once, each luma and chroma byte that changes read and written.
double touchedBytes(const LaunchCase& launch, Bytes bytes) {
  const Planes planes = gpu_check::planesIn(bytes.data(), launch);
  const LumaRect& box = launch.rect;
  double luma = 0;
  for (int y = box.y0; y <= box.y1; ++y) {
    for (int x = box.x0; x <= box.x1; ++x) {
      if (planes.mask[seg_mask_overlay::sampleOffset(y, launch.maskPitch, x)] != 0) ++luma;
    }
  }
  double chroma = 0;
  const ChromaRect pairs = seg_mask_overlay::chromaRect(box);
  for (int cy = pairs.y0; cy < pairs.y1; ++cy) {
    for (int cx = pairs.x0; cx < pairs.x1; ++cx) {
      chroma += 2.0 * seg_mask_overlay::chromaCovered(planes.mask, launch.maskPitch, launch.frame.width,
                                                      launch.frame.height, cx, cy);
    }
  }
  return double{box.x1 - box.x0 + 1.0} * (box.y1 - box.y0 + 1.0) + 2.0 * luma + 2.0 * chroma;
}

/// The same blend as a loop over all samples of the frame by the library that comes with the toolkit.
void blendByThrust(const LaunchCase& launch, const Planes& planes, cudaStream_t stream) {
  const auto policy = thrust::cuda::par_nosync.on(stream);
  const thrust::counting_iterator<int> first(0);
  const int width = launch.frame.width;
  const int height = launch.frame.height;
  thrust::for_each(policy, first, first + width * height, [=] __device__(int i) {
    const int x = i % width;
    const int y = i / width;
    const LumaRect& box = launch.rect;
    if (x < box.x0 || x > box.x1 || y < box.y0 || y > box.y1) return;
    if (planes.mask[seg_mask_overlay::sampleOffset(y, launch.maskPitch, x)] == 0) return;
    unsigned char& sample = planes.y[seg_mask_overlay::sampleOffset(y, launch.yPitch, x)];
    sample = seg_mask_overlay::blendByte(sample, launch.colorY, launch.alpha);
  });
  const ChromaRect pairs = seg_mask_overlay::chromaRect(launch.rect);
  const int pairColumns = (width + 1) / 2;
  thrust::for_each(policy, first, first + pairColumns * ((height + 1) / 2), [=] __device__(int i) {
    const int cx = i % pairColumns;
    const int cy = i / pairColumns;
    if (cx < pairs.x0 || cx >= pairs.x1 || cy < pairs.y0 || cy >= pairs.y1) return;
    if (!seg_mask_overlay::chromaCovered(planes.mask, launch.maskPitch, width, height, cx, cy)) return;
    unsigned char* pair = planes.uv + seg_mask_overlay::sampleOffset(cy, launch.uvPitch, 2 * cx);
    pair[0] = seg_mask_overlay::blendByte(pair[0], launch.colorU, launch.alpha);
    pair[1] = seg_mask_overlay::blendByte(pair[1], launch.colorV, launch.alpha);
  });
}

/// The frame to the host, the host's own loops, and back: what is done where no kernel is at hand. `bytes`
/// are those of the case, with the mask, which the host has already.
void blendOnTheHost(const LaunchCase& launch, DeviceBytes& device, Bytes& bytes, cudaStream_t stream) {
  const gpu_check::Layout layout = gpu_check::layoutOf(launch);
  const std::size_t frame = layout.mask - layout.y;
  require(cudaMemcpyAsync(bytes.data() + layout.y, device.get() + layout.y, frame, cudaMemcpyDeviceToHost,
                          stream),
          "copying to the host");
  require(cudaStreamSynchronize(stream), "waiting for the frame");
  gpu_check::blendOnHost(launch, bytes);
  require(cudaMemcpyAsync(device.get() + layout.y, bytes.data() + layout.y, frame, cudaMemcpyHostToDevice,
                          stream),
          "copying to the device");
}

using Draw = std::function<void(const LaunchCase&, DeviceBytes&)>;

void requireEqualResults(const LaunchCase& launch, const Bytes& bytes, cudaStream_t stream,
                         const std::vector<Draw>& ways) {
  Bytes expected = bytes;
  gpu_check::blendOnHost(launch, expected);
  for (const Draw& draw : ways) {
    DeviceBytes device(bytes.size());
    device.upload(bytes, stream);
    draw(launch, device);
    if (device.download(stream) != expected)
      throw std::runtime_error("a way of drawing gives other bytes than the host");
  }
}

void measure(const Workload& work, double bandwidth, double emptyLaunches, cudaStream_t stream) {
  const LaunchCase& launch = work.launch;
  std::mt19937 random(1);
  Bytes bytes = gpu_check::randomBytes(launch, gpu_check::MaskKind::full, random);
  fillMask(work, bytes);
  const Draw ours = [&](const LaunchCase& at, DeviceBytes& d) {
    launchOnDevice(at, planesIn(d.get(), at), stream);
  };
  const Draw thrusts = [&](const LaunchCase& at, DeviceBytes& d) {
    blendByThrust(at, planesIn(d.get(), at), stream);
  };
  Bytes onHost = bytes;
  const Draw hosts = [&](const LaunchCase& at, DeviceBytes& d) { blendOnTheHost(at, d, onHost, stream); };
  requireEqualResults(launch, bytes, stream, {ours, thrusts, hosts});

  const double floor = touchedBytes(launch, bytes) / bandwidth;
  const std::vector<LaunchCase> launches = places(launch);
  std::vector<std::unique_ptr<DeviceBytes>> frames;
  while (frames.size() * bytes.size() < kSpread) {
    frames.push_back(std::make_unique<DeviceBytes>(bytes.size()));
    frames.back()->upload(bytes, stream);
  }
  const auto timeOf = [&](const Draw& draw, std::size_t actions) {
    return gpuTime(stream, static_cast<int>(actions), [&](int i) {
      const auto turn = static_cast<std::size_t>(i);
      draw(launches[turn / frames.size() % launches.size()], *frames[turn % frames.size()]);
    });
  };
  const double own = timeOf(ours, frames.size() * launches.size());
  const double byThrust = timeOf(thrusts, frames.size());
  const double byHost = timeOf(hosts, frames.size());
  require(cudaGetLastError(), "drawing");

  const std::string name = std::string("kernels, ") + work.name;
  gpu_check::printRow(name, own, "its bytes at copy bandwidth", floor);
  gpu_check::printRow(name, own, "two empty launches", emptyLaunches);
  gpu_check::printRow(name, own, "Thrust over the frame", byThrust);
  gpu_check::printRow(name, own, "to the host and back", byHost);
}

/// The packed frame once, each luma and chroma byte that is under a box read and written; an item drawn over
/// another needs no more of them.
double touchedBytes(const FusedCase& frame) {
  const int width = frame.frame.size.width;
  std::vector<bool> luma(static_cast<std::size_t>(width) * static_cast<std::size_t>(frame.frame.size.height));
  for (const auto& item : frame.items) {
    for (int y = item.luma.y0; y <= item.luma.y1; ++y) {
      for (int x = item.luma.x0; x <= item.luma.x1; ++x)
        luma[static_cast<std::size_t>(seg_mask_overlay::sampleOffset(y, width, x))] = true;
    }
  }
  const auto packed = frame.items.size() * sizeof(frame.items[0]) +
                      frame.maps.size() * sizeof(frame.maps[0]) + frame.bits.size() +
                      (frame.tileFirst.size() + frame.tileItems.size()) * sizeof(uint32_t);
  // At even places each pixel has half a byte of chroma.
  return static_cast<double>(packed) + 3.0 * static_cast<double>(std::count(luma.begin(), luma.end(), true));
}

/// All items of a frame at once: boxes of 200x400 of 1920x1080, spread over the frame at even places.
void measureFrame(int width, int height, int items, double bandwidth, double emptyLaunches,
                  cudaStream_t stream) {
  std::mt19937 random(1);
  FusedCase frame = gpu_check::emptyFused(width, height, 0, 0.45F, random);
  const int w = 200 * width / 1920 / 2 * 2;
  const int h = 400 * height / 1080 / 2 * 2;
  for (int i = 0; i < items; ++i) {
    const int x = i * 398 % (width - w) / 2 * 2;
    const int y = i * 212 % (height - h) / 2 * 2;
    gpu_check::addItem(frame, {x, y, x + w - 1, y + h - 1}, 160, 160, 1, random);
  }
  gpu_check::makeTiles(frame, 0);
  std::vector<std::unique_ptr<FusedOnDevice>> frames;
  while (frames.size() * frame.planes.size() < kSpread)
    frames.push_back(std::make_unique<FusedOnDevice>(frame, stream));
  const double own = gpuTime(stream, static_cast<int>(frames.size()), [&](int i) {
    seg_mask_overlay::launchFusedFrame(frames[static_cast<std::size_t>(i)]->frame(), nullptr, stream);
  });
  require(cudaGetLastError(), "drawing");
  const std::string name = "one pass, " + std::to_string(width) + "x" + std::to_string(height) +
                           ", boxes: " + std::to_string(items);
  gpu_check::printRow(name, own, "its bytes at copy bandwidth", touchedBytes(frame) / bandwidth);
  gpu_check::printRow(name, own, "two empty launches", emptyLaunches);
}

Workload workload(const char* name, int width, int height, LumaRect box, Shape shape) {
  LaunchCase launch = gpu_check::wholeFrame(width, height, 0.45F);
  launch.rect = box;
  launch.colorY = 150;
  launch.colorU = 90;
  launch.colorV = 200;
  return {name, launch, shape};
}

void measureAll() {
  cudaDeviceProp card{};
  require(cudaGetDeviceProperties(&card, 0), "asking for the card");
  const Stream stream;
  const double bandwidth = copyBandwidth(stream.get());
  const double launches = launchFloor(stream.get());
  std::printf("%s, compute capability %d.%d, copies %.0f GB/s (read and written)\n", card.name, card.major,
              card.minor, bandwidth / 1e3);
  for (const Workload& work :
       {workload("1920x1080, whole frame", 1920, 1080, {0, 0, 1919, 1079}, Shape::full),
        workload("1920x1080, a person of 200x400", 1920, 1080, {0, 0, 199, 399}, Shape::person),
        workload("3840x2160, whole frame", 3840, 2160, {0, 0, 3839, 2159}, Shape::full),
        workload("3840x2160, a person of 400x800", 3840, 2160, {0, 0, 399, 799}, Shape::person)}) {
    measure(work, bandwidth, launches, stream.get());
  }
  for (const int items : {1, 10, 30, 100}) {
    measureFrame(1920, 1080, items, bandwidth, launches, stream.get());
    measureFrame(3840, 2160, items, bandwidth, launches, stream.get());
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (!gpu_check::noArguments(argc, argv)) return 2;
  int devices = 0;
  if (cudaGetDeviceCount(&devices) != cudaSuccess || devices == 0) {
    std::printf("skipped: no CUDA device\n");
    return kSkipped;
  }
  try {
    measureAll();
    return 0;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "bench_kernels: %s\n", error.what());
    return 1;
  }
}
