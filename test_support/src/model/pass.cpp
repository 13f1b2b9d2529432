#include "test_support/model/pass.h"

#include <stdexcept>

#include "test_support/model/fallback_line.h"

namespace model {
namespace {

std::string skip(const Host& host, Plugin& plugin, const Gathering& frame) {
  ++plugin.skipped;
  if (!plugin.debug || !(isDueByNumber(plugin.skipped) || host.time_is_up)) return "";
  return skipLine(host.frame_id, frame.missing, frame.lookback);
}

bool isEmpty(const Size& size) {
  return size.width <= 0 || size.height <= 0;
}

void detach(const Host& host, Picture& picture) {
  if (picture.writable) return;
  if (!host.source) throw std::runtime_error("LazyDetachedPicture has no source picture");
  if (host.source_id == 0) throw std::runtime_error("LazyDetachedPicture has no source picture id");
  picture.writable = host.copy();
  if (!picture.writable) throw std::runtime_error("LazyDetachedPicture cloneDetached failed");
}

// Whether there is a mapping to draw on.
bool map(const Host& host, const Plugin& plugin, Picture& picture) {
  if (picture.active && picture.valid) {
    if (picture.backend == plugin.backend) return true;
    picture.active = false;
    picture.holds_old = false;
    picture.has_target = false;
    picture.backend = nullptr;
  }
  detach(host, picture);
  picture.has_target = !isEmpty(*picture.writable);
  if (!picture.has_target) return false;
  ++picture.maps;
  const std::optional<Planes> planes = host.map();
  if (!planes) {
    picture.has_target = false;
    picture.backend = nullptr;
    return false;
  }
  picture.backend = plugin.backend;
  picture.holds_old = false;
  picture.holds_new = true;
  picture.planes = *planes;
  picture.valid = true;
  picture.active = true;
  return true;
}

}  // namespace

std::string pass(const Host& host, Plugin& plugin, Picture& picture, Compositor& compositor) {
  if (plugin.backend == nullptr || !host.source) return "";
  const Gathering frame = gather(host.producers, plugin.settings.cap, host.deliver);
  if (frame.detections.empty()) return skip(host, plugin, frame);
  plugin.skipped = 0;

  const std::optional<Size> readable = picture.writable ? picture.writable : host.source;
  if (!readable) throw std::runtime_error("LazyDetachedPicture has no readable picture");
  if (isEmpty(*readable)) return "";
  const std::vector<Item> items = drawableItems(frame.detections, plugin.settings.min_score);
  if (!items.empty() && map(host, plugin, picture))
    compositor.draw(picture.planes, items, plugin.settings.alpha);
  return "";
}

}  // namespace model
