#include "soak/FramePlan.h"

#include "soak/hostile_input.h"
#include "test_support/golden_model.h"
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

// Whether the plug-in has something to draw, visible or not.
bool isDrawable(const scene::Detection& detection, const scene::Settings& settings) {
  return !(detection.score < settings.min_score) && golden::readMask(detection.mask).has_value();
}

std::vector<scene::Detection> drawableOf(const golden::Gathering& gathered, const scene::Settings& settings) {
  std::vector<scene::Detection> drawable;
  for (const scene::Detection& detection : gathered.detections) {
    if (isDrawable(detection, settings)) drawable.push_back(detection);
  }
  return drawable;
}

// Why nothing of a frame with drawable detections is drawn; the text is that of the exception, if there is
// one.
std::optional<std::string> obstacle(const FramePlan& plan, const Observed& observed) {
  switch (plan.trouble) {
    case Trouble::noCopy:
      return "LazyDetachedPicture cloneDetached failed";
    case Trouble::noSourceId:
      return "LazyDetachedPicture has no source picture id";
    case Trouble::invalidMapping:
      return "";
    case Trouble::failedAllocation:
      if (observed.allocations > 0) return "";
      return std::nullopt;
    default:
      return std::nullopt;
  }
}

// What does not see the frame is passed over without an upload.
void drawUntilUploadFails(const FramePlan& plan, const std::vector<scene::Detection>& drawable,
                          std::vector<uint8_t>& pixels) {
  const scene::Scene& scene = plan.scene;
  unsigned uploads = 0;
  for (const scene::Detection& detection : drawable) {
    if (!golden::visiblePart(detection, scene.width, scene.height)) continue;
    if (plan.trouble == Trouble::failedUpload && ++uploads == plan.nth) return;
    golden::draw(pixels, scene.width, scene.height, detection, scene.settings.alpha);
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

Expected expectedOf(const FramePlan& plan, const std::vector<uint8_t>& before, const Observed& observed) {
  Expected expected;
  if (plan.trouble != Trouble::noSource && plan.trouble != Trouble::emptyPicture) expected.pixels = before;
  if (plan.trouble == Trouble::noBackend || plan.trouble == Trouble::noSource) return expected;
  if (observed.resolver_threw) {
    expected.thrown = kResolverError;
    return expected;
  }

  const golden::Gathering gathered = golden::gather(plan.scene);
  if (gathered.detections.empty()) {
    expected.run = Expected::Run::goesOn;
    expected.missing = gathered.missing;
    expected.lookback = gathered.lookback;
    return expected;
  }
  expected.run = Expected::Run::ends;
  const std::vector<scene::Detection> drawable = drawableOf(gathered, plan.scene.settings);
  if (drawable.empty() || !expected.pixels) return expected;
  if (const std::optional<std::string> thrown = obstacle(plan, observed)) {
    expected.thrown = *thrown;
  } else if (plan.trouble == Trouble::failedLaunch) {
    expected.pixels.reset();
  } else {
    drawUntilUploadFails(plan, drawable, *expected.pixels);
  }
  return expected;
}

}  // namespace soak
