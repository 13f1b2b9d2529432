#include "soak/FramePlan.h"

#include "soak/hostile_input.h"
#include "test_support/random_scene.h"

namespace soak {
namespace {

using scene::Dice;

void spoilScores(Dice& dice, scene::Scene& scene) {
  for (scene::Input& input : scene.inputs) {
    if (input.form == scene::PayloadForm::text) input.form = scene::PayloadForm::object;
    for (scene::Detection& detection : input.detections) {
      if (dice.oneIn(2)) detection.score = oddScore(dice);
    }
  }
}

// Gives an input another payload, junk or odd, and the scene what that means.
void spoilPayload(Dice& dice, FramePlan& plan) {
  scene::Scene& scene = plan.scene;
  if (scene.inputs.empty()) return;
  const auto at = static_cast<std::size_t>(dice.between(0, static_cast<int>(scene.inputs.size()) - 1));
  scene::Input& input = scene.inputs[at];
  input.form = scene::PayloadForm::text;
  if (dice.oneIn(2)) {
    input.detections.clear();
    plan.payloads.emplace_back(at, junkPayload(dice));
    return;
  }
  OddPayload odd = oddPayload(dice, scene.width, scene.height);
  input.detections = std::move(odd.meaning);
  plan.payloads.emplace_back(at, SwAny(std::move(odd.text)));
}

void makeQuiet(Dice& dice, FramePlan& plan) {
  for (std::size_t i = 0; i < plan.scene.inputs.size(); ++i) {
    plan.scene.inputs[i].detections.clear();
    if (dice.oneIn(4) && plan.scene.inputs[i].form != scene::PayloadForm::absent)
      plan.payloads.emplace_back(i, junkPayload(dice));
  }
}

}  // namespace

const char* nameOf(Trouble trouble) {
  static const std::array<const char*, kTroubles> kNames = {
      "no trouble",         "no backend",       "no source picture", "an empty picture", "no inputs",
      "no resolver",        "empty resolver",   "throwing resolver", "no copy",          "no source id",
      "an invalid mapping", "no device memory", "a failed upload",   "a failed launch"};
  return kNames[static_cast<std::size_t>(trouble)];
}

FramePlan planFrame(Dice& dice, int width, int height, const scene::Settings& settings, bool quiet,
                    bool hostile) {
  FramePlan plan;
  plan.frame_id = dice.oneIn(50) ? UINT64_MAX : dice.bits();
  plan.scene = scene::randomScene(dice.bits(), width, height);
  plan.scene.settings = settings;
  plan.nth = static_cast<unsigned>(dice.between(1, 3));
  plan.passes = dice.oneIn(8) ? 2 : 1;
  if (hostile && dice.oneIn(2)) plan.trouble = static_cast<Trouble>(dice.between(1, kTroubles - 1));
  if (quiet) {
    makeQuiet(dice, plan);
  } else if (hostile) {
    if (dice.oneIn(3)) spoilScores(dice, plan.scene);
    if (dice.oneIn(2)) spoilPayload(dice, plan);
  }

  // Without these the plug-in sees no input, or none that holds anything.
  if (plan.trouble == Trouble::noInputs) {
    plan.scene.inputs.clear();
    plan.payloads.clear();
  }
  if (plan.trouble == Trouble::noResolver || plan.trouble == Trouble::emptyResolver) {
    for (scene::Input& input : plan.scene.inputs) input.detections.clear();
  }
  return plan;
}

}  // namespace soak
