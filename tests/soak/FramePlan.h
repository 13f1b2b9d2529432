#pragma once

#include <cstddef>
#include <cstdint>
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

}  // namespace soak
