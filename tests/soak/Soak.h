#pragma once

#include <array>
#include <bitset>
#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "soak/FramePlan.h"
#include "test_support/Dice.h"
#include "test_support/StderrCapture.h"
#include "test_support/model/pass.h"
#include "test_support/plugin_harness.h"
#include "zelvo/ZelvoPicturePool.h"

namespace soak {

/// What a frame did that it should not; the text says which frame.
class Failure : public std::runtime_error {
  using std::runtime_error::runtime_error;
};

inline constexpr int kLargestSide = 64;

/// What a pass writes, and the text of what leaves it.
struct Outcome {
  std::string line;
  std::string thrown;
  bool call_failed = false;  ///< one of the device's calls
};

/// What a soak did, for its summary. It takes no more memory however much that was.
struct Figures {
  uint64_t frames = 0;
  uint64_t passes = 0;
  uint64_t compared = 0;  ///< passes of which every byte was compared with the model
  uint64_t changed = 0;   ///< of these, those that drew something
  uint64_t skipped = 0;   ///< passes without detections
  uint64_t lines = 0;     ///< diagnostic lines, each foretold
  uint64_t thrown = 0;    ///< exceptions that left render, each foretold
  uint64_t configurations = 0;
  uint64_t debug_switches = 0;
  uint64_t reloads = 0;
  std::bitset<kLargestSide * kLargestSide> sizes;  ///< of the frames, each a bit
  std::array<uint64_t, kTroubles> troubles{};
};

/// A host with good days and bad ones: one instance that is fed frame after frame, and now and then given up
/// together with its library and loaded again. All of it follows from the seed.
class Soak {
 public:
  explicit Soak(unsigned seed);

  /// One frame, and what comes before it. Throws Failure when the frame's bytes, its exception or its
  /// diagnostic line are not what they have to be.
  void frame();

  /// Gives up the instance, its library and the pictures that wait to be used again; the next frame loads
  /// anew.
  void rest();

  /// Whether it is at rest.
  bool rests() const { return !host_; }

  const Figures& figures() const { return figures_; }
  /// Lines that the value library wrote.
  unsigned long otherLines() const { return other_lines_; }

 private:
  void beginPhase();
  void load();
  void configure();
  void switchDebugging();
  void advanceTime();
  void prepare(plugin_test::Frame& frame, const FramePlan& plan);
  void pass(plugin_test::Frame& frame, const FramePlan& plan, model::Picture& picture,
            std::vector<uint8_t>& pixels);
  void initialise(const FramePlan& plan, IRenderBackend& maps_nothing);
  Outcome render(plugin_test::Frame& frame, const FramePlan& plan);
  Outcome modelled(const FramePlan& plan, bool call_failed, model::Picture& picture,
                   std::vector<uint8_t>& pixels);
  std::string takeOverlayLines();
  [[noreturn]] void fail(const FramePlan& plan, const std::string& what) const;

  scene::Dice dice_;
  Figures figures_;
  StderrCapture written_;
  unsigned long other_lines_ = 0;
  std::shared_ptr<zelvo::ZelvoPicturePool> pool_;
  std::optional<plugin_test::Host> host_;
  model::Plugin expected_;    ///< the instance, as the model has it
  model::MaskBuffer buffer_;  ///< what it keeps on the device, if that is a frame-sized mask
  std::chrono::nanoseconds now_{0};
  std::optional<std::chrono::nanoseconds> last_line_;
  int left_in_phase_ = 0;
  int width_ = 0;
  int height_ = 0;
  bool quiet_ = false;
  bool hostile_ = false;
  RenderPayloadResolver resolver_;
  unsigned calls_until_throw_ = 0;
};

}  // namespace soak
