// Feeds the loaded plug-in with many small frames, good and hostile ones, and looks whether it draws what the
// model draws, says what it has to say, and keeps nothing. scripts/soak says more.

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>
#include <vector>

#include "cudart_cpu/control.h"
#include "soak/ResidentMemory.h"
#include "soak/Soak.h"
#include "test_support/overlay_facts.h"
#include "test_support/process_facts.h"

namespace {

using soak::ResidentMemory;
using soak::Soak;

constexpr uint64_t kFramesBetweenRests = 397;
constexpr uint64_t kFramesBetweenSamples = 7;
constexpr double kMiB = 1024.0 * 1024.0;

// A sanitizer's allocator and an emulator take memory of their own.
#ifdef SOAK_WITHOUT_MEMORY
constexpr bool kMeasuresMemory = false;
#else
constexpr bool kMeasuresMemory = true;
#endif

// Sanitizer builds keep plug-ins mapped on purpose.
#ifdef SEG_MASK_SANITIZED
constexpr bool kUnloads = false;
#else
constexpr bool kUnloads = true;
#endif

/// What the process holds while the library is unloaded and every picture is gone.
struct Holdings {
  std::size_t files;
  cudart_cpu::LiveAllocations device;
  std::size_t pinned;
  std::size_t events;
  std::size_t heap;
};

Holdings holdings() {
  return {process_facts::openFiles(), cudart_cpu::liveAllocations(),
          cudart_cpu::livePinnedAllocations().count, cudart_cpu::liveEvents(),
          process_facts::allocatedBytes()};
}

/// The plug-in must leave nothing behind each time that it goes.
std::vector<std::string> leftBehind(const Holdings& before, const Holdings& now) {
  std::vector<std::string> left;
  if (now.files != before.files) {
    left.push_back("file descriptors are left open: " + std::to_string(before.files) + " before, " +
                   std::to_string(now.files) + " now");
  }
  if (now.device.count != 0) {
    left.push_back("device memory is left: " + std::to_string(now.device.count) + " allocations, " +
                   std::to_string(now.device.bytes) + " bytes");
  }
  if (now.pinned != 0 || now.events != 0) {
    left.push_back(std::to_string(now.pinned) + " page-locked buffers and " + std::to_string(now.events) +
                   " events are left");
  }
  if (kUnloads && process_facts::isMapped(plugin_test::pluginPath()))
    left.push_back("the library is still mapped");
  return left;
}

/// Growth of the heap from the run's middle to its end, and of resident memory from the second quarter to the
/// last. The first finds small leaks in short runs; what the allocator keeps for later counts as the heap's.
std::vector<std::string> grown(const Holdings& before, const Holdings& now, const ResidentMemory& memory) {
  constexpr std::size_t kHeapLimit = 64 * 1024;
  std::vector<std::string> grown;
  if (!kMeasuresMemory) return grown;
  if (now.heap > before.heap + kHeapLimit) {
    grown.push_back("the heap has grown by " + std::to_string(now.heap - before.heap) +
                    " bytes from the middle to the end");
  }
  const double difference = memory.meanOfQuarter(3) - memory.meanOfQuarter(1);
  if (std::abs(difference) > kMiB) {
    grown.push_back("resident memory is not flat: the last quarter's mean is " +
                    std::to_string(difference / kMiB) + " MiB from the second's");
  }
  return grown;
}

void printFigures(const Soak& soak, const Holdings& before, const Holdings& middle, const Holdings& now,
                  const ResidentMemory& memory) {
  const soak::Figures& figures = soak.figures();
  std::printf("  passes        %lu over %lu frames of %zu sizes, %lu compared with the model, %lu drawn on\n",
              figures.passes, figures.frames, figures.sizes.count(), figures.compared, figures.changed);
  std::printf("  diagnostics   %lu lines for %lu skipped passes, each when it was due; %lu other lines\n",
              figures.lines, figures.skipped, soak.otherLines());
  std::printf("  exceptions    %lu left render, each as foretold\n", figures.thrown);
  std::printf("  changes       %lu configurations, %lu switches of debugging, %lu loads of the library\n",
              figures.configurations, figures.debug_switches, figures.reloads);
  std::printf("  trouble      ");
  for (std::size_t i = 0; i < figures.troubles.size(); ++i) {
    std::printf("%s %s %lu", i == 0 ? "" : ",", soak::nameOf(static_cast<soak::Trouble>(i)),
                figures.troubles[i]);
  }
  std::printf("\n  left behind   %zu open files before, %zu after; %zu bytes of device memory\n",
              before.files, now.files, now.device.bytes);
  if (!kMeasuresMemory) {
    std::printf("  memory        not measured in this build\n");
    return;
  }
  if (memory.meanOfQuarter(3) == 0) return;  // it did not come that far
  std::printf(
      "  memory        resident %.2f MiB in the second quarter, %.2f MiB in the last; heap %+ld bytes since "
      "the middle\n",
      memory.meanOfQuarter(1) / kMiB, memory.meanOfQuarter(3) / kMiB,
      static_cast<long>(now.heap) - static_cast<long>(middle.heap));
}

int run(uint64_t frames, unsigned seed) {
  std::printf("soak: %lu frames, seed %u, %s\n", frames, seed, plugin_test::overlayFacts().file);
  std::fflush(stdout);
  std::vector<std::string> faults;
  Soak soak(seed);
  ResidentMemory memory(frames);
  // The first load takes for good what any load takes once: registries, and OpenCV's and class_loader's own.
  soak.frame();
  soak.rest();
  const Holdings before = holdings();
  Holdings middle = before;
  Holdings now = before;
  try {
    for (uint64_t frame = 1; frame < frames && faults.empty(); ++frame) {
      soak.frame();
      if (frame % kFramesBetweenSamples == 0) memory.sample(frame);
      if (frame % kFramesBetweenRests != 0 && frame + 1 != frames) continue;
      soak.rest();
      now = holdings();
      if (frame <= frames / 2) middle = now;
      faults = leftBehind(before, now);
    }
    const std::vector<std::string> growth = grown(middle, now, memory);
    faults.insert(faults.end(), growth.begin(), growth.end());
  } catch (const soak::Failure& failure) {
    faults.emplace_back(failure.what());
  }
  printFigures(soak, before, middle, now, memory);
  for (const std::string& fault : faults) std::printf("soak: FAILED: %s\n", fault.c_str());
  std::printf("soak: %s\n", faults.empty() ? "nothing found" : "the same seed shows it again");
  return faults.empty() ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) try {
  if (argc != 3) {
    std::fprintf(stderr, "usage: soak FRAMES SEED (scripts/soak checks them)\n");
    return 2;
  }
  return run(std::strtoull(argv[1], nullptr, 10), static_cast<unsigned>(std::strtoul(argv[2], nullptr, 10)));
} catch (const std::exception& error) {
  std::printf("soak: FAILED: %s\n", error.what());
  return 1;
}
