#include "soak/Soak.h"

#include <algorithm>
#include <sstream>

#include "cudart_cpu/control.h"
#include "soak/hostile_input.h"
#include "soak/steady_time.h"
#include "test_support/frame_check.h"
#include "test_support/model/fallback_line.h"
#include "test_support/model/scene_frame.h"
#include "test_support/overlay_facts.h"
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

/// Whether one of the calls failed that planFailure lets fail.
bool oneHasFailed(const std::vector<cudart_cpu::RecordedCall>& calls) {
  return std::any_of(calls.begin(), calls.end(), [](const cudart_cpu::RecordedCall& made) {
    const bool may = made.call == Call::cudaMalloc || made.call == Call::cudaMemcpyAsync ||
                     made.call == Call::cudaLaunchHostFunc;
    return may && made.result != cudaSuccess;
  });
}

/// The same for the model.
model::DeviceCalls callsOf(const FramePlan& plan) {
  model::DeviceCalls calls;
  if (plan.trouble == Trouble::failedAllocation) calls.failCall(model::Call::allocate, 1);
  if (plan.trouble == Trouble::failedUpload) calls.failCall(model::Call::upload, plan.nth);
  if (plan.trouble == Trouble::failedLaunch) calls.failCall(model::Call::launch, plan.nth);
  return calls;
}

/// The source that the pass finds.
std::optional<model::Size> sourceOf(const FramePlan& plan) {
  if (plan.trouble == Trouble::noSource) return std::nullopt;
  if (plan.trouble == Trouble::emptyPicture) return model::Size{0, 0};
  return model::Size{plan.scene.width, plan.scene.height};
}

bool resolves(Trouble trouble) {
  return trouble != Trouble::noInputs && trouble != Trouble::noResolver && trouble != Trouble::emptyResolver;
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
    if (calls_until_throw_ != 0 && --calls_until_throw_ == 0) throw std::runtime_error(kResolverError);
    return stored;
  };
}

void Soak::load() {
  pool_ = std::make_shared<zelvo::ZelvoPicturePool>();
  host_.emplace();
  expected_ = model::Plugin();
  buffer_ = model::MaskBuffer();
  last_line_.reset();
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
  cudaGetLastError();  // as a host that looks after its errors now and then
}

void Soak::switchDebugging() {
  expected_.debug = !expected_.debug;
  host_->plugin()->enableDebug(expected_.debug);
  ++figures_.debug_switches;
}

void Soak::configure() {
  static const std::array<float, 5> kAlphas = {0.0F, 0.25F, 0.45F, 0.9F, 1.0F};
  static const std::array<float, 5> kScores = {0.0F, 0.0F, 0.0F, 0.5F, 1.0F};
  static const std::array<int32_t, 5> kCaps = {1, 2, 5, 256, 4096};
  ++figures_.configurations;
  if (dice_.oneIn(3)) {
    host_->plugin()->setConfig(oddConfiguration(dice_, expected_.settings));
    return;
  }
  expected_.settings.alpha = dice_.oneOf(kAlphas);
  expected_.settings.min_score = dice_.oneOf(kScores);
  expected_.settings.cap = dice_.oneOf(kCaps);
  host_->configure(expected_.settings);
}

// Mostly one frame of some camera, sometimes nothing at all or hours, and often just so far that 2 s have
// passed since the last line, or lack a nanosecond.
void Soak::advanceTime() {
  const std::chrono::nanoseconds due = last_line_.value_or(now_) + model::kSkipPause;
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

  const FramePlan plan = planFrame(dice_, width_, height_, expected_.settings, quiet_, hostile_);
  ++figures_.frames;
  ++figures_.troubles[static_cast<std::size_t>(plan.trouble)];
  Frame frame(plan.scene, host_->stream());
  prepare(frame, plan);
  std::vector<uint8_t> pixels = plan.scene.frame;
  model::Picture picture;
  if (isOfTheDevice(plan.trouble)) picture.writable = sourceOf(plan);  // prepare() has copied it
  for (unsigned n = 0; n < plan.passes; ++n) pass(frame, plan, picture, pixels);
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

void Soak::initialise(const FramePlan& plan, IRenderBackend& maps_nothing) {
  RenderInit init;
  init.backend = &host_->backend();
  if (plan.trouble == Trouble::noBackend) init.backend = nullptr;
  if (plan.trouble == Trouble::invalidMapping) init.backend = &maps_nothing;
  host_->plugin()->init(init);
  expected_.backend = init.backend;
}

Outcome Soak::render(Frame& frame, const FramePlan& plan) {
  Outcome outcome;
  calls_until_throw_ = plan.trouble == Trouble::throwingResolver ? plan.nth : 0;
  planFailure(plan);
  cudart_cpu::resetCounters();
  cudart_cpu::recordCalls(true);
  try {
    host_->render(frame);
  } catch (const std::runtime_error& error) {
    outcome.thrown = error.what();
  }
  cudart_cpu::recordCalls(false);
  cudart_cpu::clearFailures();
  outcome.call_failed = oneHasFailed(cudart_cpu::recordedCalls());
  outcome.line = takeOverlayLines();
  return outcome;
}

// `pixels` are the picture's bytes before the pass, and then those after it; `picture` keeps them mapped.
Outcome Soak::modelled(const FramePlan& plan, bool call_failed, model::Picture& picture,
                       std::vector<uint8_t>& pixels) {
  const model::SceneRecords records(plan.scene);
  unsigned resolved = 0;
  model::Host given;
  given.frame_id = plan.frame_id;
  given.time_is_up = !last_line_ || now_ - *last_line_ >= model::kSkipPause;
  given.source = sourceOf(plan);
  given.source_id = plan.trouble == Trouble::noSourceId ? 0 : 1;
  given.producers = records.producers();
  given.deliver = [&](const RenderInput& record) -> std::vector<scene::Detection> {
    const scene::Input& input = records.inputOf(record);
    if (input.form == scene::PayloadForm::absent || !resolves(plan.trouble)) return {};
    if (plan.trouble == Trouble::throwingResolver && ++resolved == plan.nth)
      throw std::runtime_error(kResolverError);
    return input.detections;
  };
  given.copy = [&] { return plan.trouble == Trouble::noCopy ? std::nullopt : sourceOf(plan); };
  given.map = [&]() -> std::optional<model::Planes> {
    if (plan.trouble == Trouble::invalidMapping) return std::nullopt;
    return model::planesOf(pixels, plan.scene.width, plan.scene.height);
  };
  Outcome outcome;
  model::DeviceCalls calls = callsOf(plan);
  model::OneByOne one_by_one(buffer_, calls);
  model::AllAtOnce all_at_once;
  model::Compositor* compositor = &all_at_once;
  if (plugin_test::overlayFacts().draws_one_by_one) compositor = &one_by_one;
  const uint64_t skipped = expected_.skipped;
  try {
    outcome.line = model::pass(given, expected_, picture, *compositor);
    all_at_once.finish(!call_failed);
  } catch (const std::runtime_error& error) {
    outcome.thrown = error.what();
  }
  if (expected_.skipped > skipped) ++figures_.skipped;
  if (!outcome.line.empty()) last_line_ = now_;
  return outcome;
}

void Soak::pass(Frame& frame, const FramePlan& plan, model::Picture& picture, std::vector<uint8_t>& pixels) {
  ++figures_.passes;
  plugin_test::IdleBackend maps_nothing;
  initialise(plan, maps_nothing);
  const Outcome outcome = render(frame, plan);
  const std::vector<uint8_t> before = pixels;
  const Outcome expected = modelled(plan, outcome.call_failed, picture, pixels);
  if (outcome.thrown != expected.thrown)
    fail(plan, "it threw '" + outcome.thrown + "', not '" + expected.thrown + "'");
  if (!outcome.thrown.empty()) ++figures_.thrown;
  if (outcome.line != expected.line)
    fail(plan, "its lines are '" + outcome.line + "', not '" + expected.line + "'");
  if (!outcome.line.empty()) ++figures_.lines;

  const bool hasPicture = plan.trouble != Trouble::noSource && plan.trouble != Trouble::emptyPicture;
  if (!hasPicture) return;
  const auto source = plugin_test::sameFrame(plan.scene, plan.scene.frame, frame.sourcePixels());
  if (!source) fail(plan, std::string("it drew on the source picture: ") + source.message());
  const auto same = plugin_test::sameFrame(plan.scene, pixels, frame.pixels());
  if (!same) fail(plan, same.message());
  ++figures_.compared;
  if (pixels != before) ++figures_.changed;
}

// The plug-in's own lines since the last call. The others are the value library's; they are counted.
std::string Soak::takeOverlayLines() {
  std::istringstream written(written_.take());
  std::string lines;
  for (std::string line; std::getline(written, line);) {
    if (line.rfind("[SegMask]", 0) == 0) {
      lines += written.eof() ? line : line + "\n";
    } else {
      ++other_lines_;
    }
  }
  return lines;
}

void Soak::fail(const FramePlan& plan, const std::string& what) const {
  std::ostringstream text;
  text << "frame " << figures_.frames << " with " << nameOf(plan.trouble) << ", debugging "
       << (expected_.debug ? "on" : "off") << ", at " << now_.count() << " ns: " << what << "\n"
       << plan.scene;
  throw Failure(text.str());
}

}  // namespace soak
