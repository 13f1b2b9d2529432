#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "cudart_cpu/control.h"
#include "test_support/frame_check.h"
#include "test_support/model/scene_frame.h"
#include "test_support/overlay_facts.h"
#include "test_support/plugin_harness.h"
#include "test_support/scene.h"
#include "zelvo/ZelvoPicture.h"

namespace plugin_test {

/// A frame with so many detections, each over all of it.
inline scene::Scene coveredScene(int width, int height, int detections = 1) {
  scene::Scene scene = scene::oneProducer(width, height, {});
  for (int i = 0; i < detections; ++i)
    scene.inputs[0].detections.push_back(scene::coverAll(width, height, i));
  return scene;
}

/// The device's memory is host memory here, so a picture can be looked at while its stream stands still.
inline std::vector<uint8_t> bytesNow(Frame& frame) {
  const zelvo::ZelvoPicture& picture = *frame.context().picture.writable;
  std::vector<uint8_t> bytes;
  for (int y = 0; y < picture.height(); ++y) {
    const unsigned char* row = picture.yPlane() + static_cast<std::ptrdiff_t>(y) * picture.yPitch();
    bytes.insert(bytes.end(), row, row + picture.width());
  }
  for (int y = 0; y < scene::chromaRows(picture.height()); ++y) {
    const unsigned char* row = picture.uvPlane() + static_cast<std::ptrdiff_t>(y) * picture.uvPitch();
    bytes.insert(bytes.end(), row, row + scene::chromaRowBytes(picture.width()));
  }
  return bytes;
}

/// What the process holds of the CPU device: allocations of device memory, of page-locked memory, and events.
struct HeldOfDevice {
  std::size_t device = cudart_cpu::liveAllocations().count;
  std::size_t pinned = cudart_cpu::livePinnedAllocations().count;
  std::size_t events = cudart_cpu::liveEvents();

  friend bool operator==(const HeldOfDevice& a, const HeldOfDevice& b) {
    return a.device == b.device && a.pinned == b.pinned && a.events == b.events;
  }
  friend std::ostream& operator<<(std::ostream& out, const HeldOfDevice& held) {
    return out << held.device << " of device memory, " << held.pinned << " of page-locked memory, "
               << held.events << " events";
  }
};

/// For tests that look at the calls of the CPU device.
class DeviceCallsTest : public PluginTest {
 protected:
  using Calls = std::vector<cudart_cpu::RecordedCall>;
  using Names = OverlayFacts::Names;

  void SetUp() override {
    PluginTest::SetUp();
    cudaGetLastError();  // forgets what earlier tests have left, because it may decide about calls
  }

  /// A frame whose picture is copied already, so that all calls of the pass are the plug-in's own.
  std::unique_ptr<Frame> readyFrame(const scene::Scene& scene) {
    auto frame = std::make_unique<Frame>(scene, host().stream());
    frame->context().picture.ensureWritablePicShared();
    return frame;
  }

  /// The calls of one pass, which must draw.
  Calls callsOf(const scene::Scene& scene) {
    const auto frame = readyFrame(scene);
    cudart_cpu::resetCounters();
    cudart_cpu::recordCalls(true);
    host().render(*frame);
    cudart_cpu::recordCalls(false);
    Calls calls = cudart_cpu::recordedCalls();
    EXPECT_TRUE(sameFrame(scene, model::expectedFrame(scene), frame->pixels()));
    return calls;
  }

  /// The names; one that comes several times running is there once.
  static Names namesOf(const Calls& calls) {
    Names names;
    for (const cudart_cpu::RecordedCall& call : calls) {
      const std::string name = cudart_cpu::callName(call.call);
      if (names.empty() || names.back() != name) names.push_back(name);
    }
    return names;
  }

  const OverlayFacts& facts_ = overlayFacts();
  cudart_cpu::ScopedReset reset_;
};

}  // namespace plugin_test
