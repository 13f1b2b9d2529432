#pragma once

#include <string>

#include "core/SwAny.h"
#include "test_support/Dice.h"
#include "test_support/scene.h"

/// What producers and configurations send on bad days, beside what random scenes have already, together with
/// what it means.
namespace soak {

/// A payload that is there and holds no detection: of the wrong type, no JSON, or of another form.
SwAny junkPayload(scene::Dice& dice);

/// Detections with members of the wrong kinds, outside their ranges or missing, as JSON text; and as they
/// have to be read.
struct OddPayload {
  std::string text;
  std::vector<scene::Detection> meaning;
};
OddPayload oddPayload(scene::Dice& dice, int width, int height);

/// NaN, an infinity or another number that is no share.
float oddScore(scene::Dice& dice);

/// A configuration that is broken, of the wrong kinds or outside the ranges; `settings` become what it leaves
/// in force.
std::string oddConfiguration(scene::Dice& dice, scene::Settings& settings);

}  // namespace soak
