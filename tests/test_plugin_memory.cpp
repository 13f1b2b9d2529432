// How far a frame's peak of resident memory grows with its detections: by their decoded bits, because there
// is one frame-sized mask on the host for all of them, or none.

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstddef>
#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "test_support/overlay_facts.h"
#include "test_support/plugin_harness.h"
#include "test_support/scene.h"

namespace {

using plugin_test::Frame;

constexpr int kWidth = 3840;
constexpr int kHeight = 2160;
constexpr int kMaskSide = 160;
constexpr long kKiB = 1024;
constexpr long kMiB = 1024 * kKiB;

/// The most memory that this process has had resident so far, in bytes.
long peakOfThisProcess() {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.rfind("VmHWM:", 0) == 0) return std::atol(line.c_str() + 6) * kKiB;
  }
  throw std::runtime_error("/proc/self/status has no VmHWM");
}

scene::Scene crowd(int count) {
  const std::string mask = scene::chessMask(kMaskSide, kMaskSide);
  std::vector<scene::Detection> detections;
  for (int i = 0; i < count; ++i) {
    scene::Detection detection;
    detection.x = i * 14;
    detection.y = i * 7;
    detection.w = 200;
    detection.h = 300;
    detection.class_id = i;
    detection.mask = mask;
    detections.push_back(detection);
  }
  return scene::oneProducer(kWidth, kHeight, detections);
}

/// How far the peak of a process of its own, which begins with all that this one has resident, payloads
/// included, grows by rendering the frame.
long growthByRendering(plugin_test::Host& host, Frame& frame) {
  int ends[2];
  if (pipe(ends) != 0) throw std::runtime_error("no pipe");
  const pid_t child = fork();
  if (child < 0) throw std::runtime_error("no process");
  if (child == 0) {
    const long before = peakOfThisProcess();
    host.render(frame);
    const long growth = peakOfThisProcess() - before;
    _exit(write(ends[1], &growth, sizeof growth) == static_cast<ssize_t>(sizeof growth) ? 0 : 1);
  }
  long growth = 0;
  close(ends[1]);
  const bool told = read(ends[0], &growth, sizeof growth) == static_cast<ssize_t>(sizeof growth);
  close(ends[0]);
  int status = 0;
  waitpid(child, &status, 0);
  if (!told || status != 0) throw std::runtime_error("the process that rendered failed");
  return growth;
}

TEST(PluginMemory, GrowsByTheDecodedBitsOfTheDetectionsAndHardlyMore) {
  constexpr int kDetections = 256;
  constexpr long kDecodedBytes = long{kDetections} * kMaskSide * kMaskSide / 8;
  plugin_test::Host host;
  Frame one(crowd(1), host.stream());
  Frame many(crowd(kDetections), host.stream());

  const long byOne = growthByRendering(host, one);
  const long byMany = growthByRendering(host, many);
  // Beside the picture's copy of one and a half bytes a pixel.
  const long masks = plugin_test::overlayFacts().keeps_frame_masks ? 2 : 0;
  EXPECT_GT(byOne, masks * kWidth * kHeight) << "a mask on the host and one on the device";
  EXPECT_LT(byOne, (masks + 2) * kWidth * kHeight);
  EXPECT_LE(byMany - byOne, kDecodedBytes + 8 * kMiB);
  RecordProperty("growth_kib", std::to_string((byMany - byOne) / kKiB));
}

}  // namespace
