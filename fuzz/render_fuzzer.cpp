// The whole of render on the CPU device, against a model of a pass and of every pixel. fuzz_render and
// fuzz_render_fused are this with one library of the plug-in each, whose calls LibraryCalls knows. The input
// is a program: it makes contexts and changes what they hold, sets and initialises the plug-in, lets calls of
// the CUDA runtime and of the host fail, and renders. After each pass all bytes of all planes, those around
// the rows too, the context, the plug-in's fields, the device calls and the written line have to be what the
// model says.

#include <cuda_runtime.h>

#include <algorithm>
#include <array>
#include <limits>
#include <memory>
#include <new>
#include <optional>
#include <stdexcept>

#include "cudart_cpu/control.h"
#include "fuzz/Canvas.h"
#include "fuzz/FuzzInput.h"
#include "fuzz/LibraryCalls.h"
#include "fuzz/fuzz_target.h"
#include "fuzz/render_host.h"
#include "test_support/SegMaskOverlayPluginPeer.h"
#include "test_support/StderrCapture.h"
#include "test_support/model/pass.h"

namespace {

using fuzz::Backend;
using fuzz::Canvas;
using fuzz::HostContext;
using fuzz::Map;
using fuzz::SharedPicture;

// What a pass is given by the host and by the device.
struct Plan {
  Map map = Map::good;
  std::shared_ptr<Canvas> canvas;
  bool timeIsUp = false;
  bool held = false;  // the stream's work waits until after the pass
};

// What a pass has to leave behind.
struct Result {
  std::string line;
  std::vector<std::uint64_t> asked;
  SharedPicture writable;
  model::Picture picture;
};

template <typename Action>
std::string thrownBy(const Action& action) {
  try {
    action();
    return "nothing";
  } catch (const fuzz::ResolverError&) {
    return "the resolver's error";
  } catch (const fuzz::CopyError&) {
    return "the copier's error";
  } catch (const fuzz::MapError&) {
    return "the backend's error";
  } catch (const std::bad_alloc&) {
    return "std::bad_alloc";
  } catch (const std::runtime_error& error) {
    return error.what();
  }
}

std::optional<model::Size> sizeOf(const SharedPicture& picture) {
  if (!picture) return std::nullopt;
  return model::Size{picture->width(), picture->height()};
}

// What the model may know of a context before the pass.
Result before(const HostContext& host) {
  const RenderContext& ctx = host.ctx;
  Result result;
  result.writable = ctx.picture.writable;
  result.picture.writable = sizeOf(ctx.picture.writable);
  result.picture.active = ctx.guard_active;
  result.picture.valid = fuzz::areValid(ctx.planes);
  if (host.canvas) result.picture.planes = host.canvas->expected();
  result.picture.backend = ctx.guard_backend;
  result.picture.has_target = ctx.render_target != nullptr;
  result.picture.holds_old = !host.token.expired();
  return result;
}

// The pass as the model has it.
void modelPass(const HostContext& host, model::Plugin& plugin, const Plan& plan,
               model::Compositor& compositor, Result& result) {
  model::Host given;
  given.frame_id = host.ctx.frame_id;
  given.time_is_up = plan.timeIsUp;
  given.source = sizeOf(host.ctx.picture.source);
  given.source_id = host.ctx.picture.sourceId;
  given.producers = host.producers;
  given.deliver = [&](const RenderInput& one) {
    const std::size_t askedBefore = result.asked.size();
    std::vector<scene::Detection> delivered = host.deliveries.deliver(one, host.ctx, result.asked);
    if (host.sourceVanishes && result.asked.size() > askedBefore) given.source.reset();
    return delivered;
  };
  given.copy = [&] {
    result.writable = host.copied();
    return sizeOf(result.writable);
  };
  given.map = [&]() -> std::optional<model::Planes> {
    if (plan.map == Map::error) throw fuzz::MapError();
    if (plan.map != Map::good) return std::nullopt;
    return plan.canvas->expected();
  };
  result.line = model::pass(given, plugin, result.picture, compositor);
}

class World {
 public:
  void step(FuzzInput& input);

 private:
  void configure(FuzzInput& input);
  void initialise(FuzzInput& input);
  void tamper(FuzzInput& input, HostContext& host);
  Plan buildPlan(FuzzInput& input, const HostContext& host);
  void render(HostContext& host, const Plan& plan);
  void checkContext(HostContext& host, const Plan& plan, const Result& result);

  std::vector<SharedPicture> pictures_;
  std::vector<std::shared_ptr<Canvas>> canvases_;
  std::array<Backend, 2> backends_;
  std::array<std::unique_ptr<HostContext>, 2> hosts_;
  Backend* backend_ = nullptr;
  model::Plugin expected_;
  SegMaskOverlayPlugin plugin_;
  SegMaskOverlayPluginPeer fields_{plugin_};
  std::unique_ptr<fuzz::LibraryCalls> calls_ = fuzz::makeLibraryCalls(plugin_);
};

void World::step(FuzzInput& input) {
  const unsigned what = input.below(9);
  std::unique_ptr<HostContext>& host = hosts_[input.below(2)];
  if (what == 0 || !host) host = std::make_unique<HostContext>(input, pictures_);
  if (what == 1) configure(input);
  if (what == 2) tamper(input, *host);
  if (what == 3 || expected_.backend == nullptr) initialise(input);
  if (what >= 4) render(*host, buildPlan(input, *host));
}

void World::configure(FuzzInput& input) {
  expected_.settings.alpha = static_cast<float>(input.byte()) / 255.0F;
  expected_.settings.min_score = static_cast<float>(input.below(101)) / 100.0F;
  expected_.settings.cap = input.number<std::int8_t>();
  expected_.debug = input.flag();
  if (input.flag()) expected_.skipped = 56 + input.below(8);
  fields_.alpha() = expected_.settings.alpha;
  fields_.minScore() = expected_.settings.min_score;
  fields_.maxOverlayDets() = expected_.settings.cap;
  fields_.skippedFrames() = expected_.skipped;
  plugin_.enableDebug(expected_.debug);
}

void World::initialise(FuzzInput& input) {
  const unsigned kind = input.below(8);
  backend_ = kind == 7 ? nullptr : &backends_[kind % 2];
  expected_.backend = backend_;
  RenderInit init;
  init.backend = backend_;
  fuzz::check(plugin_.init(init), "init");
}

// What a host, or another plug-in on the same context, may do between two passes.
void World::tamper(FuzzInput& input, HostContext& host) {
  RenderContext& ctx = host.ctx;
  switch (input.below(10)) {
    case 0:
      ctx.guard_active = false;
      break;
    case 1:
      ctx.planes.y = nullptr;
      break;
    case 2:
      ctx.planes.uv = nullptr;
      break;
    case 3:
      ctx.planes.yPitch = 0;
      break;
    case 4:
      ctx.planes.uvPitch = -1;
      break;
    case 5:
      ctx.guard_backend = nullptr;
      break;
    case 6:
      ctx.guard_backend = &backends_[input.below(2)];
      break;
    case 7:
      ctx.render_target.reset();
      break;
    case 8:
      ctx.guard_active = ctx.guard.holds();
      break;
    default:
      ctx.picture.writable = nullptr;
  }
}

Plan World::buildPlan(FuzzInput& input, const HostContext& host) {
  Plan plan;
  const unsigned flags = input.byte();
  plan.timeIsUp = (flags & 1U) != 0;
  plan.held = (flags & 2U) != 0;
  if ((flags & 4U) != 0) plan.map = static_cast<Map>(input.below(8));
  if ((flags & 8U) != 0) {
    for (unsigned count = 1 + input.below(3); count > 0; --count) calls_->planFailure(input);
  }
  const fuzz::Size frame{host.picture->width(), host.picture->height()};
  const int yExtra = (flags & 16U) != 0 ? static_cast<int>(input.below(40)) : 0;
  const int uvExtra = (flags & 32U) != 0 ? static_cast<int>(input.below(40)) : 1;
  plan.canvas = std::make_shared<Canvas>(frame, yExtra, uvExtra);
  canvases_.push_back(plan.canvas);
  return plan;
}

void World::render(HostContext& host, const Plan& plan) {
  for (Backend& backend : backends_) {
    backend.kind = plan.map;
    backend.canvas = plan.canvas;
    backend.stream = fuzz::theStream();
    backend.maps = 0;
  }
  const std::uint64_t nextLog = plan.timeIsUp ? 0 : std::numeric_limits<std::uint64_t>::max();
  fields_.nextLogNs() = nextLog;
  const std::size_t resolvedBefore = host.deliveries.resolved().size();

  Result result = before(host);
  const std::string expectedThrown =
      thrownBy([&] { modelPass(host, expected_, plan, calls_->compositor(), result); });
  const StderrCapture captured;
  cudart_cpu::resetCounters();
  calls_->begin();
  if (plan.held) cudart_cpu::hold(fuzz::theStream());
  const std::string thrown = thrownBy([&] { plugin_.render(host.ctx); });
  calls_->finish();
  if (plan.held) cudart_cpu::release(fuzz::theStream());

  fuzz::checkEqual(thrown, expectedThrown, "what the pass throws");
  fuzz::checkEqual(captured.text(), result.line, "standard error");
  fuzz::check((fields_.nextLogNs() == nextLog) == result.line.empty(), "when the next line may come");
  const std::vector<std::uint64_t>& resolved = host.deliveries.resolved();
  fuzz::check(std::equal(resolved.begin() + static_cast<std::ptrdiff_t>(resolvedBefore), resolved.end(),
                         result.asked.begin(), result.asked.end()),
              "the frames that are resolved");
  fuzz::check(fields_.skippedFrames() == expected_.skipped, "skipped frames");
  checkContext(host, plan, result);
  for (const std::shared_ptr<Canvas>& canvas : canvases_) canvas->check();
}

void World::checkContext(HostContext& host, const Plan& plan, const Result& result) {
  const RenderContext& ctx = host.ctx;
  fuzz::check(ctx.guard_active == result.picture.active, "guard_active");
  fuzz::check(ctx.guard_backend == result.picture.backend, "guard_backend");
  fuzz::check((ctx.render_target != nullptr) == result.picture.has_target,
              "whether there is a render target");
  fuzz::check(ctx.picture.writable == result.writable, "the writable picture");
  fuzz::check(!host.token.expired() == result.picture.holds_old, "whether the mapping from before is held");
  unsigned maps = 0;
  for (const Backend& backend : backends_) maps += backend.maps;
  fuzz::check(maps == result.picture.maps, "how often is mapped");
  if (maps != 0 && plan.map != Map::error) {
    fuzz::check(!backend_->token.expired() == result.picture.holds_new, "whether the new mapping is held");
  }
  if (!result.picture.holds_new) return;
  host.token = backend_->token;
  host.canvas = plan.canvas;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::size_t liveBefore = cudart_cpu::liveAllocations().count;
  const std::size_t pinnedBefore = cudart_cpu::livePinnedAllocations().count;
  const std::size_t eventsBefore = cudart_cpu::liveEvents();
  {
    const StderrCapture building;  // the registry's line
    FuzzInput program(data, size);
    World world;
    for (int steps = 0; steps < 16 && !program.atEnd(); ++steps) world.step(program);
  }
  fuzz::check(cudart_cpu::liveAllocations().count == liveBefore, "device memory is freed");
  fuzz::check(cudart_cpu::livePinnedAllocations().count == pinnedBefore, "page-locked memory is freed");
  fuzz::check(cudart_cpu::liveEvents() == eventsBefore, "events are destroyed");
  return 0;
}
