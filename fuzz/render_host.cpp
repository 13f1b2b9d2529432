#include "fuzz/render_host.h"

#include <algorithm>
#include <utility>

#include "fuzz/fuzz_target.h"
#include "test_support/model/producers.h"
#include "zelvo/ZelvoPicturePool.h"

namespace fuzz {
namespace {

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

}  // namespace

IRenderBackend::Mapping Backend::map(zelvo::RenderTarget&) {
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

bool areValid(const IRenderBackend::MappedPlanes& planes) {
  return planes.y != nullptr && planes.uv != nullptr && planes.yPitch > 0 && planes.uvPitch > 0;
}

HostContext::HostContext(FuzzInput& input, std::vector<SharedPicture>& pictures) : deliveries(input, 4) {
  ctx.frame_id = input.number<std::uint16_t>();
  buildPicture(input, pictures);
  buildResolver(input);
  buildProducers(input);
}

SharedPicture HostContext::copied() const {
  for (const Copy copy : {poolCopy, detachedCopy}) {
    if (copy == Copy::error) throw CopyError();
    if (copy == Copy::picture) return picture;
    if (copy == Copy::emptyPicture) return emptyPicture;
  }
  return nullptr;
}

void HostContext::buildPicture(FuzzInput& input, std::vector<SharedPicture>& pictures) {
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
    checkEqual(name, expected.empty() ? "/" : expected, "the name that cloneDetached is given");
    check(id == ctx.picture.sourceId, "the identifier that cloneDetached is given");
    if (detachedCopy == Copy::error) throw CopyError();
    if (detachedCopy == Copy::nothing) return nullptr;
    return detachedCopy == Copy::picture ? picture : emptyPicture;
  };
}

void HostContext::buildResolver(FuzzInput& input) {
  const unsigned kind = input.below(16);
  if (kind == 1) {
    ctx.payload_resolver = nullptr;
    return;
  }
  resolver.resolve = nullptr;
  if (kind != 3) deliveries.resolveFor(ctx);
  if (kind == 2) {
    resolver.resolve = [this, inner = ctx.payload_resolver](std::uint64_t frame, const SwAny& stored) {
      ctx.picture.source.reset();
      return inner->resolve(frame, stored);
    };
    ctx.payload_resolver = &resolver;
    sourceVanishes = true;
  }
}

void HostContext::buildProducers(FuzzInput& input) {
  const unsigned kind = input.below(8);
  for (unsigned count = input.below(4); count > 0; --count) {
    RenderProducerStatus& report = reports["detection.v1"].emplace_back();
    report.producer_id = buildKey(input);
  }
  if (kind == 1) ctx.producer_statuses = nullptr;
  ctx.inputs = kind == 2 ? nullptr : &deliveries.byType();
  static const std::vector<RenderInput> kNoInputs;
  const std::vector<RenderProducerStatus> noReports;
  const auto found = reports.find("detection.v1");
  producers = model::producerView(kind == 1 || found == reports.end() ? noReports : found->second,
                                  kind == 2 ? kNoInputs : deliveries.inputs())
                  .producers;
}

}  // namespace fuzz
