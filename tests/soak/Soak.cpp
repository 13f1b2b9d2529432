#include "soak/Soak.h"

#include <algorithm>
#include <sstream>

#include "cudart_cpu/control.h"
#include "soak/hostile_input.h"
#include "soak/steady_time.h"
#include "test_support/frame_check.h"
#include "zelvo/ZelvoPicture.h"

namespace soak {
namespace {

using cudart_cpu::Call;
using plugin_test::Frame;

/// Fails the call that the trouble is about.
void planFailure(const FramePlan& plan) {
  switch (plan.trouble) {
    case Trouble::failedAllocation:
      return cudart_cpu::failCall(Call::cudaMalloc, 1, cudaErrorMemoryAllocation);
    case Trouble::failedUpload:
      return cudart_cpu::failCall(Call::cudaMemcpyAsync, plan.nth, cudaErrorInvalidValue);
    case Trouble::failedLaunch:
      return cudart_cpu::failCall(Call::cudaLaunchHostFunc, plan.nth, cudaErrorLaunchFailure);
    default:
      return;
  }
}

bool isOfTheDevice(Trouble trouble) {
  return trouble == Trouble::failedAllocation || trouble == Trouble::failedUpload ||
         trouble == Trouble::failedLaunch;
}

}  // namespace

Soak::Soak(unsigned seed) : dice_(seed) {
  // Some seconds or some years after the machine began.
  now_ = std::chrono::nanoseconds(static_cast<int64_t>(dice_.bits()) << dice_.between(0, 26));
  resolver_.resolve = [this](uint64_t, const SwAny& stored) {
    if (calls_until_throw_ != 0 && --calls_until_throw_ == 0) {
      observed_.resolver_threw = true;
      throw std::runtime_error(kResolverError);
    }
    return stored;
  };
}

void Soak::load() {
  pool_ = std::make_shared<zelvo::ZelvoPicturePool>();
  host_.emplace();
  throttle_ = LineThrottle();
  settings_ = scene::Settings();
  debugging_ = false;
  ++figures_.reloads;
}

void Soak::rest() {
  host_.reset();
  pool_.reset();
}

void Soak::beginPhase() {
  left_in_phase_ = dice_.between(1, 200);
  quiet_ = dice_.oneIn(3);
  hostile_ = dice_.oneIn(2);
  width_ = dice_.between(1, kLargestSide);
  height_ = dice_.between(1, kLargestSide);
  figures_.sizes.set(static_cast<std::size_t>((width_ - 1) * kLargestSide + height_ - 1));
  if (dice_.oneIn(2)) switchDebugging();
}

void Soak::switchDebugging() {
  debugging_ = !debugging_;
  host_->plugin()->enableDebug(debugging_);
  ++figures_.debug_switches;
}

void Soak::configure() {
  static const std::array<float, 5> kAlphas = {0.0F, 0.25F, 0.45F, 0.9F, 1.0F};
  static const std::array<float, 5> kScores = {0.0F, 0.0F, 0.0F, 0.5F, 1.0F};
  static const std::array<int32_t, 5> kCaps = {1, 2, 5, 256, 4096};
  ++figures_.configurations;
  if (dice_.oneIn(3)) {
    host_->plugin()->setConfig(oddConfiguration(dice_, settings_));
    return;
  }
  settings_.alpha = dice_.oneOf(kAlphas);
  settings_.min_score = dice_.oneOf(kScores);
  settings_.cap = dice_.oneOf(kCaps);
  host_->configure(settings_);
}

// Mostly one frame of some camera, sometimes nothing at all or hours, and often just so far that 2 s have
// passed since the last line, or lack a nanosecond.
void Soak::advanceTime() {
  const std::chrono::nanoseconds due = throttle_.lastLine().value_or(now_) + LineThrottle::kPause;
  if (dice_.oneIn(20) && due > now_) {
    now_ = due - std::chrono::nanoseconds(dice_.between(0, 1));
  } else if (dice_.oneIn(500)) {
    now_ += std::chrono::hours(dice_.between(1, 100));
  } else if (!dice_.oneIn(20)) {
    now_ += std::chrono::microseconds(dice_.between(8'000, 42'000));
  }
  setSteadyTime(now_);
}

void Soak::frame() {
  if (!host_) {
    load();
    left_in_phase_ = 0;
  }
  if (left_in_phase_ == 0) beginPhase();
  --left_in_phase_;
  if (dice_.oneIn(15)) configure();
  if (dice_.oneIn(100)) switchDebugging();
  advanceTime();

  const FramePlan plan = planFrame(dice_, width_, height_, settings_, quiet_, hostile_);
  ++figures_.frames;
  ++figures_.troubles[static_cast<std::size_t>(plan.trouble)];
  Frame frame(plan.scene, host_->stream());
  prepare(frame, plan);
  std::vector<uint8_t> pixels = plan.scene.frame;
  for (unsigned n = 0; n < plan.passes; ++n) pass(frame, plan, pixels);
}

void Soak::prepare(Frame& frame, const FramePlan& plan) {
  RenderContext& context = frame.context();
  context.frame_id = plan.frame_id;
  context.picture.pool = pool_;
  context.payload_resolver = &resolver_;
  for (const auto& [input, payload] : plan.payloads) frame.inputs()[input].payload = payload;
  // So that the calls that fail are the plug-in's own.
  if (isOfTheDevice(plan.trouble)) context.picture.ensureWritablePicShared();

  static const RenderPayloadResolver kEmpty;
  if (plan.trouble == Trouble::noInputs) context.inputs = nullptr;
  if (plan.trouble == Trouble::noResolver) context.payload_resolver = nullptr;
  if (plan.trouble == Trouble::emptyResolver) context.payload_resolver = &kEmpty;
  if (plan.trouble == Trouble::noSource) context.picture.source = nullptr;
  if (plan.trouble == Trouble::emptyPicture) context.picture.source = std::make_shared<zelvo::ZelvoPicture>();
  if (plan.trouble == Trouble::noCopy) context.picture.pool = nullptr;
  if (plan.trouble == Trouble::noSourceId) context.picture.sourceId = 0;
}

// The text of what leaves render, and in `observed_` what the pass met.
std::string Soak::thrownBy(Frame& frame, const FramePlan& plan) {
  plugin_test::IdleBackend mapsNothing;
  RenderInit init;
  init.backend = &host_->backend();
  if (plan.trouble == Trouble::noBackend) init.backend = nullptr;
  if (plan.trouble == Trouble::invalidMapping) init.backend = &mapsNothing;
  host_->plugin()->init(init);

  observed_ = Observed();
  calls_until_throw_ = plan.trouble == Trouble::throwingResolver ? plan.nth : 0;
  cudart_cpu::resetCounters();
  planFailure(plan);
  std::string thrown;
  try {
    host_->render(frame);
  } catch (const std::runtime_error& error) {
    thrown = error.what();
  }
  cudart_cpu::clearFailures();
  observed_.allocations = cudart_cpu::count(Call::cudaMalloc);
  return thrown;
}

std::string Soak::lineOf(const FramePlan& plan, const Expected& expected) {
  if (expected.run == Expected::Run::ends) throttle_.endRun();
  if (expected.run != Expected::Run::goesOn) return {};
  ++figures_.skipped;
  if (!throttle_.skips(now_, debugging_)) return {};
  ++figures_.lines;
  return "[SegMask][Fallback] frame=" + std::to_string(plan.frame_id) +
         " decision=skip providers_missing=" + std::to_string(expected.missing) +
         " providers_using_lookback=" + std::to_string(expected.lookback) + "\n";
}

// `pixels` are the picture's bytes before the pass, and then those after it.
void Soak::pass(Frame& frame, const FramePlan& plan, std::vector<uint8_t>& pixels) {
  ++figures_.passes;
  const std::string thrown = thrownBy(frame, plan);
  const std::string written = lines_.takeOverlayLines();
  const Expected expected = expectedOf(plan, pixels, observed_);
  if (thrown != expected.thrown) fail(plan, "it threw '" + thrown + "', not '" + expected.thrown + "'");
  if (!thrown.empty()) ++figures_.thrown;

  const std::string due = lineOf(plan, expected);
  if (written != due) fail(plan, "its lines are '" + written + "', not '" + due + "'");

  const bool hasPicture = plan.trouble != Trouble::noSource && plan.trouble != Trouble::emptyPicture;
  if (!hasPicture) return;
  const auto source = plugin_test::sameFrame(plan.scene, plan.scene.frame, frame.sourcePixels());
  if (!source) fail(plan, std::string("it drew on the source picture: ") + source.message());
  if (!expected.pixels) {
    pixels = frame.pixels();
    return;
  }
  const auto same = plugin_test::sameFrame(plan.scene, *expected.pixels, frame.pixels());
  if (!same) fail(plan, same.message());
  ++figures_.compared;
  if (*expected.pixels != pixels) ++figures_.changed;
  pixels = *expected.pixels;
}

void Soak::fail(const FramePlan& plan, const std::string& what) const {
  std::ostringstream text;
  text << "frame " << figures_.frames << " with " << nameOf(plan.trouble) << ", debugging "
       << (debugging_ ? "on" : "off") << ", at " << now_.count() << " ns: " << what << "\n"
       << plan.scene;
  throw Failure(text.str());
}

}  // namespace soak
