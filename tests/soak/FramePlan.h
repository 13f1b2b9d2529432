#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "core/SwAny.h"
#include "test_support/Dice.h"
#include "test_support/scene.h"

namespace soak {

/// What a frame meets beside its producers.
enum class Trouble {
  none,
  noBackend,
  noSource,
  emptyPicture,
  noInputs,
  noResolver,
  emptyResolver,
  throwingResolver,
  noCopy,
  noSourceId,
  invalidMapping,
  failedAllocation,
  failedUpload,
  failedLaunch
};
inline constexpr int kTroubles = 14;

const char* nameOf(Trouble trouble);

/// One frame as it comes to the plug-in.
struct FramePlan {
  uint64_t frame_id = 0;
  Trouble trouble = Trouble::none;
  unsigned nth = 1;     ///< which call throws or fails
  unsigned passes = 1;  ///< how often it is rendered

  /// As the plug-in has to understand it.
  scene::Scene scene;

  /// Payloads that stand in the place of the scene's own, by the input's number.
  std::vector<std::pair<std::size_t, SwAny>> payloads;
};

/// A frame of this size under these settings. `quiet` ones hold no detection; `hostile` ones meet trouble
/// more often than not.
FramePlan planFrame(scene::Dice& dice, int width, int height, const scene::Settings& settings, bool quiet,
                    bool hostile);

/// What the resolver of throwingResolver throws.
inline constexpr char kResolverError[] = "the payload is gone";

/// What can be known of a pass only while it runs.
struct Observed {
  bool resolver_threw = false;
  uint64_t allocations = 0;  ///< calls of cudaMalloc
};

/// What has to come of one pass.
struct Expected {
  /// The picture's bytes; nothing when there is no picture, or when they are not foretold: after a launch
  /// that failed.
  std::optional<std::vector<uint8_t>> pixels;

  std::string thrown;  ///< the text of the exception that leaves render; empty for none

  enum class Run { untouched, goesOn, ends };
  Run run = Run::untouched;  ///< what becomes of the run of skipped frames
  unsigned missing = 0;      ///< what the diagnostic line would say
  unsigned lookback = 0;
};

/// For a pass over a picture that holds `before`.
Expected expectedOf(const FramePlan& plan, const std::vector<uint8_t>& before, const Observed& observed);

}  // namespace soak
