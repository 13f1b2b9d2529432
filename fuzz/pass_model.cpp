#include "fuzz/pass_model.h"

#include <algorithm>
#include <cstddef>
#include <stdexcept>

#include "render_base/RenderContext.h"

namespace fuzz {
namespace {

SharedPicture detached(const HostContext& host) {
  if (host.ctx.picture.sourceId == 0)
    throw std::runtime_error("LazyDetachedPicture has no source picture id");
  for (const Copy copy : {host.poolCopy, host.detachedCopy}) {
    if (copy == Copy::error) throw CopyError();
    if (copy == Copy::picture) return host.picture;
    if (copy == Copy::emptyPicture) return host.emptyPicture;
  }
  throw std::runtime_error("LazyDetachedPicture cloneDetached failed");
}

// The canvas to draw on; null if there is none.
Canvas* mapped(const HostContext& host, const Plugin& plugin, const Plan& plan, Result& result) {
  if (result.active && areValid(host.ctx.planes)) {
    if (result.backend == plugin.backend) return host.canvas.get();
    result.active = false;
    result.holdsOld = false;
    result.hasTarget = false;
    result.backend = nullptr;
  }
  if (!result.writable) result.writable = detached(host);
  result.hasTarget = result.writable != host.emptyPicture;
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

void skip(const HostContext& host, Plugin& plugin, const Plan& plan, const reference::Gathering& frame,
          Result& result) {
  ++plugin.skipped;
  const bool counted = plugin.skipped == 1 || plugin.skipped % 60 == 0;
  if (!plugin.debug || (!counted && !plan.timeIsUp)) return;
  result.line = "[SegMask][Fallback] frame=" + std::to_string(host.ctx.frame_id) + " decision=skip" +
                " providers_missing=" + std::to_string(frame.missing) +
                " providers_using_lookback=" + std::to_string(frame.lookback) + "\n";
}

}  // namespace

void modelPass(const HostContext& host, Plugin& plugin, Plan& plan, Result& result) {
  const LazyDetachedPicture& picture = host.ctx.picture;
  if (plugin.backend == nullptr || !picture.source) return;
  const auto cap = static_cast<std::size_t>(std::max(plugin.cap, 1));
  const auto deliver = [&](const RenderInput& one) {
    return host.deliveries.deliver(one, host.ctx, result.asked);
  };
  const reference::Gathering frame = reference::gather(host.producers, cap, deliver);
  if (frame.detections.empty()) {
    skip(host, plugin, plan, frame, result);
    return;
  }
  plugin.skipped = 0;

  const SharedPicture source = host.sourceVanishes && !result.asked.empty() ? nullptr : picture.source;
  const SharedPicture readable = picture.writable ? picture.writable : source;
  if (!readable) throw std::runtime_error("LazyDetachedPicture has no readable picture");
  if (readable == host.emptyPicture) return;
  const std::vector<reference::Item> items = reference::drawableItems(frame.detections, plugin.minScore);
  if (items.empty()) return;
  if (Canvas* canvas = mapped(host, plugin, plan, result)) {
    reference::draw(*canvas, items, plugin.alpha, plugin.device, plan.calls);
  }
}

}  // namespace fuzz
