// The whole of render on the CPU device, against a model of a pass and of every pixel. The input is a
// program: it makes contexts and changes what they hold, sets and initialises the plug-in, lets calls of the
// CUDA runtime and of the host fail, and renders. After each pass all bytes of all planes, those around the
// rows too, the context, the plug-in's fields, the device calls and the written line have to be what the
// model says.

#include <cuda_runtime.h>

#include <algorithm>
#include <array>
#include <limits>
#include <memory>
#include <new>
#include <stdexcept>
#include <utility>

#include "Canvas.h"
#include "FuzzInput.h"
#include "SegMaskOverlayPluginPeer.h"
#include "StderrCapture.h"
#include "cudart_cpu/control.h"
#include "delivery_builder.h"
#include "fuzz_target.h"
#include "reference_producers.h"
#include "reference_render.h"
#include "render_base/RenderContext.h"
#include "zelvo/ZelvoPicture.h"
#include "zelvo/ZelvoPicturePool.h"

namespace {

using cudart_cpu::Call;
using fuzz::Canvas;
using SharedPicture = std::shared_ptr<zelvo::ZelvoPicture>;

// What the host's own code throws here.
struct CopyError {};
struct MapError {};

// What comes of a host's copying a picture.
enum class Copy { impossible, nothing, error, emptyPicture, picture };

Copy buildCopy(FuzzInput& input) {
  return static_cast<Copy>(std::min(input.below(8), static_cast<unsigned>(Copy::picture)));
}

class Pool : public zelvo::ZelvoPicturePool {
 public:
  Pool(Copy copy, SharedPicture picture) : copy_(copy), picture_(std::move(picture)) {}

  SharedPicture clone(const zelvo::ZelvoPicture&) override {
    if (copy_ == Copy::error) throw CopyError();
    return copy_ == Copy::nothing ? nullptr : picture_;
  }

 private:
  Copy copy_;
  SharedPicture picture_;
};

enum class Map {
  good,
  error,
  noLuma,
  noChroma,
  noLumaPitch,
  lumaPitchBelow0,
  noChromaPitch,
  chromaPitchBelow0
};

class Backend : public IRenderBackend {
 public:
  Mapping map(zelvo::RenderTarget&) override {
    ++maps;
    if (kind == Map::error) throw MapError();
    Mapping mapping;
    const std::shared_ptr<void> held = std::make_shared<std::shared_ptr<Canvas>>(canvas);
    token = held;
    mapping.guard = Guard(held);
    mapping.planes = canvas->planes();
    mapping.planes.stream = stream;
    if (kind == Map::noLuma) mapping.planes.y = nullptr;
    if (kind == Map::noChroma) mapping.planes.uv = nullptr;
    if (kind == Map::noLumaPitch) mapping.planes.yPitch = 0;
    if (kind == Map::lumaPitchBelow0) mapping.planes.yPitch = -mapping.planes.yPitch;
    if (kind == Map::noChromaPitch) mapping.planes.uvPitch = 0;
    if (kind == Map::chromaPitchBelow0) mapping.planes.uvPitch = -mapping.planes.uvPitch;
    return mapping;
  }

  // For the next pass.
  Map kind = Map::good;
  std::shared_ptr<Canvas> canvas;
  cudaStream_t stream = nullptr;

  unsigned maps = 0;
  std::weak_ptr<void> token;  // lives as long as the last mapping
};

bool areValid(const IRenderBackend::MappedPlanes& planes) {
  return planes.y != nullptr && planes.uv != nullptr && planes.yPitch > 0 && planes.uvPitch > 0;
}

// A context and everything that it points to.
struct Slot {
  Slot(FuzzInput& input, std::vector<SharedPicture>& pictures);

  fuzz::Deliveries deliveries;
  std::unordered_map<std::string, std::vector<RenderProducerStatus>> reports;
  RenderPayloadResolver otherResolver;
  bool sourceVanishes = false;  // while the payloads are resolved
  reference::Producers producers;
  Copy poolCopy = Copy::impossible;
  Copy detachedCopy = Copy::impossible;
  SharedPicture picture;  // what a copy gives
  SharedPicture emptyPicture;
  std::shared_ptr<Canvas> canvas;  // where the context's planes lie
  std::weak_ptr<void> token;       // of the mapping that the context's guard holds
  RenderContext ctx;

 private:
  void buildPicture(FuzzInput& input, std::vector<SharedPicture>& pictures);
  void buildResolver(FuzzInput& input);
  void buildProducers(FuzzInput& input);
};

Slot::Slot(FuzzInput& input, std::vector<SharedPicture>& pictures) : deliveries(input, 4) {
  ctx.frame_id = input.number<std::uint16_t>();
  buildPicture(input, pictures);
  buildResolver(input);
  buildProducers(input);
}

// `pictures` keeps them, so that none ends, and calls the device, within a pass.
void Slot::buildPicture(FuzzInput& input, std::vector<SharedPicture>& pictures) {
  const unsigned most = input.below(4) == 0 ? 64 : 20;
  const int width = 1 + static_cast<int>(input.below(most));
  const int height = 1 + static_cast<int>(input.below(most));
  const auto source = std::make_shared<zelvo::ZelvoPicture>(width, height);
  picture = std::make_shared<zelvo::ZelvoPicture>(width, height);
  emptyPicture = std::make_shared<zelvo::ZelvoPicture>();
  pictures.insert(pictures.end(), {source, picture, emptyPicture});

  const unsigned kind = input.below(16);
  if (kind != 1) ctx.picture.source = kind == 2 ? emptyPicture : source;
  if (kind == 3) ctx.picture.writable = picture;
  if (kind != 4) ctx.picture.sourceId = 1 + input.byte();
  if (kind > 8) ctx.picture.sourceName = "camera";
  poolCopy = buildCopy(input);
  detachedCopy = buildCopy(input);
  if (poolCopy != Copy::impossible) {
    ctx.picture.pool = std::make_shared<Pool>(poolCopy, poolCopy == Copy::picture ? picture : emptyPicture);
  }
  if (detachedCopy == Copy::impossible) return;
  ctx.picture.cloneDetached = [this](const std::string& name, std::uint64_t id) -> SharedPicture {
    const std::string& expected = ctx.picture.sourceName;
    fuzz::checkEqual(name, expected.empty() ? "/" : expected, "the name that cloneDetached is given");
    fuzz::check(id == ctx.picture.sourceId, "the identifier that cloneDetached is given");
    if (detachedCopy == Copy::error) throw CopyError();
    if (detachedCopy == Copy::nothing) return nullptr;
    return detachedCopy == Copy::picture ? picture : emptyPicture;
  };
}

void Slot::buildResolver(FuzzInput& input) {
  const unsigned kind = input.below(16);
  if (kind == 1) return;
  deliveries.resolveFor(ctx);
  if (kind > 3) return;
  if (kind == 2) {
    otherResolver.resolve = [this, inner = ctx.payload_resolver](std::uint64_t frame, const SwAny& stored) {
      ctx.picture.source.reset();
      return inner->resolve(frame, stored);
    };
    sourceVanishes = true;
  }
  if (kind >= 2) ctx.payload_resolver = &otherResolver;
}

void Slot::buildProducers(FuzzInput& input) {
  const unsigned kind = input.below(8);
  for (unsigned count = input.below(4); count > 0; --count) {
    RenderProducerStatus& report = reports["detection.v1"].emplace_back();
    report.producer_id = fuzz::buildKey(input);
  }
  if (kind != 1) ctx.producer_statuses = &reports;
  if (kind != 2) ctx.inputs = &deliveries.byType();
  static const std::vector<RenderInput> kNoInputs;
  const std::vector<RenderProducerStatus> noReports;
  const auto found = reports.find("detection.v1");
  producers = reference::producerView(kind == 1 || found == reports.end() ? noReports : found->second,
                                      kind == 2 ? kNoInputs : deliveries.inputs())
                  .producers;
}

// What a pass is given by the host and by the device.
struct Plan {
  Map map = Map::good;
  std::shared_ptr<Canvas> canvas;
  reference::DeviceCalls calls;
  bool timeIsUp = false;
  bool held = false;  // the stream's work waits until after the pass
};

// The plug-in as the model has it.
struct Plugin {
  Backend* backend = nullptr;
  bool debug = false;
  float alpha = 0.45F;
  float minScore = 0.0F;
  std::int32_t cap = 256;
  std::uint64_t skipped = 0;
  reference::Device device;
};

// What a pass leaves behind.
struct Result {
  explicit Result(const Slot& slot)
      : active(slot.ctx.guard_active),
        backend(slot.ctx.guard_backend),
        hasTarget(slot.ctx.render_target != nullptr),
        writable(slot.ctx.picture.writable),
        holdsOld(!slot.token.expired()) {}

  std::string line;
  std::vector<std::uint64_t> asked;
  bool active;
  const IRenderBackend* backend;
  bool hasTarget;
  SharedPicture writable;
  bool holdsOld;          // the mapping from before the pass
  bool holdsNew = false;  // the one that the pass has made
  unsigned maps = 0;
};

SharedPicture detached(const Slot& slot) {
  if (slot.ctx.picture.sourceId == 0)
    throw std::runtime_error("LazyDetachedPicture has no source picture id");
  for (const Copy copy : {slot.poolCopy, slot.detachedCopy}) {
    if (copy == Copy::error) throw CopyError();
    if (copy == Copy::picture) return slot.picture;
    if (copy == Copy::emptyPicture) return slot.emptyPicture;
  }
  throw std::runtime_error("LazyDetachedPicture cloneDetached failed");
}

// The canvas to draw on; null if there is none.
Canvas* mapped(const Slot& slot, const Plugin& plugin, const Plan& plan, Result& result) {
  if (result.active && areValid(slot.ctx.planes)) {
    if (result.backend == plugin.backend) return slot.canvas.get();
    result.active = false;
    result.holdsOld = false;
    result.hasTarget = false;
    result.backend = nullptr;
  }
  if (!result.writable) result.writable = detached(slot);
  result.hasTarget = result.writable != slot.emptyPicture;
  if (!result.hasTarget) return nullptr;
  ++result.maps;
  if (plan.map == Map::error) throw MapError();
  if (plan.map != Map::good) {
    result.hasTarget = false;
    result.backend = nullptr;
    return nullptr;
  }
  result.active = true;
  result.backend = plugin.backend;
  result.holdsOld = false;
  result.holdsNew = true;
  return plan.canvas.get();
}

void skip(const Slot& slot, Plugin& plugin, const Plan& plan, const reference::Gathering& frame,
          Result& result) {
  ++plugin.skipped;
  const bool counted = plugin.skipped == 1 || plugin.skipped % 60 == 0;
  if (!plugin.debug || (!counted && !plan.timeIsUp)) return;
  result.line = "[SegMask][Fallback] frame=" + std::to_string(slot.ctx.frame_id) + " decision=skip" +
                " providers_missing=" + std::to_string(frame.missing) +
                " providers_using_lookback=" + std::to_string(frame.lookback) + "\n";
}

// The pass as the rules read. Throws what render throws; `result` holds what has become of everything by
// then, and the canvas what is drawn.
void model(const Slot& slot, Plugin& plugin, Plan& plan, Result& result) {
  const LazyDetachedPicture& picture = slot.ctx.picture;
  if (plugin.backend == nullptr || !picture.source) return;
  const auto cap = static_cast<std::size_t>(std::max(plugin.cap, 1));
  const auto deliver = [&](const RenderInput& one) {
    return slot.deliveries.deliver(one, slot.ctx, result.asked);
  };
  const reference::Gathering frame = reference::gather(slot.producers, cap, deliver);
  if (frame.detections.empty()) {
    skip(slot, plugin, plan, frame, result);
    return;
  }
  plugin.skipped = 0;

  const SharedPicture source = slot.sourceVanishes && !result.asked.empty() ? nullptr : picture.source;
  const SharedPicture readable = picture.writable ? picture.writable : source;
  if (!readable) throw std::runtime_error("LazyDetachedPicture has no readable picture");
  if (readable == slot.emptyPicture) return;
  const std::vector<reference::Item> items = reference::drawableItems(frame.detections, plugin.minScore);
  if (items.empty()) return;
  if (Canvas* canvas = mapped(slot, plugin, plan, result)) {
    reference::draw(*canvas, items, plugin.alpha, plugin.device, plan.calls);
  }
}

template <typename Action>
std::string thrownBy(const Action& action) {
  try {
    action();
    return "nothing";
  } catch (const fuzz::ResolverError&) {
    return "the resolver's error";
  } catch (const CopyError&) {
    return "the copier's error";
  } catch (const MapError&) {
    return "the backend's error";
  } catch (const std::bad_alloc&) {
    return "std::bad_alloc";
  } catch (const std::runtime_error& error) {
    return error.what();
  }
}

cudaStream_t theStream() {
  static const cudaStream_t stream = [] {
    cudaStream_t made = nullptr;
    fuzz::check(cudaStreamCreateWithFlags(&made, cudaStreamNonBlocking) == cudaSuccess, "a stream");
    return made;
  }();
  return stream;
}

class World {
 public:
  void step(FuzzInput& input);

 private:
  void configure(FuzzInput& input);
  void initialise(FuzzInput& input);
  void tamper(FuzzInput& input, Slot& slot);
  Plan buildPlan(FuzzInput& input, const Slot& slot);
  void render(Slot& slot, Plan plan);
  void checkDevice(const Plan& plan);
  void checkContext(Slot& slot, const Plan& plan, const Result& result);

  std::vector<SharedPicture> pictures_;
  std::vector<std::shared_ptr<Canvas>> canvases_;
  std::array<Backend, 2> backends_;
  std::array<std::unique_ptr<Slot>, 2> slots_;
  Plugin expected_;
  SegMaskOverlayPlugin plugin_;
  SegMaskOverlayPluginPeer fields_{plugin_};
};

void World::step(FuzzInput& input) {
  const unsigned what = input.below(9);
  std::unique_ptr<Slot>& slot = slots_[input.below(2)];
  if (what == 0 || !slot) slot = std::make_unique<Slot>(input, pictures_);
  if (what == 1) configure(input);
  if (what == 2) tamper(input, *slot);
  if (what == 3 || expected_.backend == nullptr) initialise(input);
  if (what >= 4) render(*slot, buildPlan(input, *slot));
}

void World::configure(FuzzInput& input) {
  expected_.alpha = static_cast<float>(input.byte()) / 255.0F;
  expected_.minScore = static_cast<float>(input.below(101)) / 100.0F;
  expected_.cap = input.number<std::int8_t>();
  expected_.debug = input.flag();
  if (input.flag()) expected_.skipped = 56 + input.below(8);
  fields_.alpha() = expected_.alpha;
  fields_.minScore() = expected_.minScore;
  fields_.maxOverlayDets() = expected_.cap;
  fields_.skippedFrames() = expected_.skipped;
  plugin_.enableDebug(expected_.debug);
}

void World::initialise(FuzzInput& input) {
  const unsigned kind = input.below(8);
  expected_.backend = kind == 7 ? nullptr : &backends_[kind % 2];
  RenderInit init;
  init.backend = expected_.backend;
  fuzz::check(plugin_.init(init), "init");
}

// What a host, or another plug-in on the same context, may do between two passes.
void World::tamper(FuzzInput& input, Slot& slot) {
  RenderContext& ctx = slot.ctx;
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

Plan World::buildPlan(FuzzInput& input, const Slot& slot) {
  Plan plan;
  const unsigned flags = input.byte();
  plan.timeIsUp = (flags & 1U) != 0;
  plan.held = (flags & 2U) != 0;
  if ((flags & 4U) != 0) plan.map = static_cast<Map>(input.below(8));
  if ((flags & 8U) != 0) {
    constexpr std::array<Call, 4> kCalls{Call::cudaMalloc, Call::cudaFree, Call::cudaMemcpyAsync,
                                         Call::cudaLaunchHostFunc};
    for (unsigned count = 1 + input.below(3); count > 0; --count) {
      const Call call = kCalls[input.below(4)];
      plan.calls.failCall(call, 1 + input.below(6));
    }
  }
  const fuzz::Size frame{slot.picture->width(), slot.picture->height()};
  const int yExtra = (flags & 16U) != 0 ? static_cast<int>(input.below(40)) : 0;
  const int uvExtra = (flags & 32U) != 0 ? static_cast<int>(input.below(40)) : 1;
  plan.canvas = std::make_shared<Canvas>(frame, yExtra, uvExtra);
  canvases_.push_back(plan.canvas);
  return plan;
}

void World::render(Slot& slot, Plan plan) {
  for (Backend& backend : backends_) {
    backend.kind = plan.map;
    backend.canvas = plan.canvas;
    backend.stream = theStream();
    backend.maps = 0;
  }
  const std::uint64_t nextLog = plan.timeIsUp ? 0 : std::numeric_limits<std::uint64_t>::max();
  fields_.nextLogNs() = nextLog;
  void* const bufferBefore = fields_.deviceMask();
  const std::size_t resolvedBefore = slot.deliveries.resolved().size();
  expected_.device.freeFailed = false;
  for (const auto& [call, nth] : plan.calls.plans()) cudart_cpu::failCall(call, nth, cudaErrorUnknown);

  Result result(slot);
  const std::string expectedThrown = thrownBy([&] { model(slot, expected_, plan, result); });
  const StderrCapture captured;
  cudart_cpu::resetCounters();
  if (plan.held) cudart_cpu::hold(theStream());
  const std::string thrown = thrownBy([&] { plugin_.render(slot.ctx); });
  checkDevice(plan);
  cudart_cpu::clearFailures();
  if (plan.held) cudart_cpu::release(theStream());
  if (expected_.device.freeFailed) cudaFree(bufferBefore);

  fuzz::checkEqual(thrown, expectedThrown, "what the pass throws");
  fuzz::checkEqual(captured.text(), result.line, "standard error");
  fuzz::check((fields_.nextLogNs() == nextLog) == result.line.empty(), "when the next line may come");
  const std::vector<std::uint64_t>& resolved = slot.deliveries.resolved();
  fuzz::check(std::equal(resolved.begin() + static_cast<std::ptrdiff_t>(resolvedBefore), resolved.end(),
                         result.asked.begin(), result.asked.end()),
              "the frames that are resolved");
  checkContext(slot, plan, result);
  for (const std::shared_ptr<Canvas>& canvas : canvases_) canvas->check();
}

void World::checkDevice(const Plan& plan) {
  for (const Call call :
       {Call::cudaMalloc, Call::cudaFree, Call::cudaMemcpyAsync, Call::cudaLaunchHostFunc}) {
    fuzz::checkEqual(std::to_string(cudart_cpu::count(call)), std::to_string(plan.calls.count(call)),
                     cudart_cpu::callName(call));
  }
  fuzz::check(cudart_cpu::totalCalls() == plan.calls.total(), "other calls of the CUDA runtime");
  fuzz::check((fields_.deviceMask() != nullptr) == expected_.device.hasBuffer, "whether there is a buffer");
  fuzz::check(fields_.deviceMaskBytes() == expected_.device.bufferBytes, "the buffer's bytes");
  fuzz::check(fields_.skippedFrames() == expected_.skipped, "skipped frames");
}

void World::checkContext(Slot& slot, const Plan& plan, const Result& result) {
  const RenderContext& ctx = slot.ctx;
  fuzz::check(ctx.guard_active == result.active, "guard_active");
  fuzz::check(ctx.guard_backend == result.backend, "guard_backend");
  fuzz::check((ctx.render_target != nullptr) == result.hasTarget, "whether there is a render target");
  fuzz::check(ctx.picture.writable == result.writable, "the writable picture");
  fuzz::check(!slot.token.expired() == result.holdsOld, "whether the mapping from before is held");
  unsigned maps = 0;
  for (const Backend& backend : backends_) maps += backend.maps;
  fuzz::check(maps == result.maps, "how often is mapped");
  if (maps != 0 && plan.map != Map::error) {
    fuzz::check(!expected_.backend->token.expired() == result.holdsNew, "whether the new mapping is held");
  }
  if (!result.holdsNew) return;
  slot.token = expected_.backend->token;
  slot.canvas = plan.canvas;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::size_t liveBefore = cudart_cpu::liveAllocations().count;
  {
    const StderrCapture building;  // the registry's line
    FuzzInput program(data, size);
    World world;
    for (int steps = 0; steps < 16 && !program.atEnd(); ++steps) world.step(program);
  }
  fuzz::check(cudart_cpu::liveAllocations().count == liveBefore, "device memory is freed");
  return 0;
}
