#include "src/render/RenderTotals.h"

#include <utility>

#include "core/SwJsonArray.h"
#include "src/json_values.h"

namespace segmask {
namespace {

SwJsonObject jsonOf(const std::map<std::string, uint64_t>& counts) {
  SwJsonObject object;
  for (const auto& [word, count] : counts) object.insert(word, count);
  return object;
}

/// Adds what the summary and the totals tell alike.
void addTold(SwJsonObject& object, const ToldTotals& told) {
  object.insert("frames_changed", told.framesChanged);
  object.insert("pixels_changed", told.pixelsChanged);
  if (!told.drawn) return;
  object.insert("drawn", *told.drawn);
  object.insert("dropped", jsonOf(told.dropped));
}

ToldTotals toldIn(const SwJsonObject& object) {
  ToldTotals told;
  told.framesChanged = countIn(object, "frames_changed");
  told.pixelsChanged = countIn(object, "pixels_changed");
  if (!object.contains("drawn")) return told;
  told.drawn = countIn(object, "drawn");
  const SwJsonObject* const dropped = object["dropped"].object();
  if (!dropped) return told;
  for (const auto& [word, count] : *dropped) told.dropped[word] = static_cast<uint64_t>(count.integer());
  return told;
}

}  // namespace

void RenderTotals::add(const RenderTotals& other) {
  frames += other.frames;
  framesDrawn += other.framesDrawn;
  detections += other.detections;
  detectionsLookedBack += other.detectionsLookedBack;
  damage.packets += other.damage.packets;
  damage.frames += other.damage.frames;
  damage.copied += other.damage.copied;
  renderTimes.add(other.renderTimes);
  if (!other.told) return;
  if (!told) told.emplace();
  told->framesChanged += other.told->framesChanged;
  told->pixelsChanged += other.told->pixelsChanged;
  if (other.told->drawn) told->drawn = told->drawn.value_or(0) + *other.told->drawn;
  for (const auto& [word, count] : other.told->dropped) told->dropped[word] += count;
}

SwJsonObject totalsJson(const RenderTotals& totals) {
  SwJsonArray times;
  for (const uint64_t count : totals.renderTimes.counts()) times.append(count);
  SwJsonObject object;
  object.insert("frames", totals.frames);
  object.insert("frames_drawn", totals.framesDrawn);
  object.insert("detections", totals.detections);
  object.insert("lookback", totals.detectionsLookedBack);
  object.insert("damaged_packets", totals.damage.packets);
  object.insert("damaged_frames", totals.damage.frames);
  object.insert("damaged_copied", totals.damage.copied);
  object.insert("render_times", std::move(times));
  if (totals.told) addTold(object, *totals.told);
  return object;
}

RenderTotals totalsIn(const SwJsonObject& object) {
  RenderTotals totals;
  totals.frames = countIn(object, "frames");
  totals.framesDrawn = countIn(object, "frames_drawn");
  totals.detections = countIn(object, "detections");
  totals.detectionsLookedBack = countIn(object, "lookback");
  totals.damage.packets = countIn(object, "damaged_packets");
  totals.damage.frames = countIn(object, "damaged_frames");
  totals.damage.copied = countIn(object, "damaged_copied");
  std::vector<uint64_t> counts;
  const SwJsonArray* const times = object["render_times"].array();
  for (std::size_t i = 0; times && i < times->size(); ++i) {
    counts.push_back(static_cast<uint64_t>((*times)[i].integer()));
  }
  totals.renderTimes.add(counts);
  if (object.contains("frames_changed")) totals.told = toldIn(object);
  return totals;
}

std::string summaryJson(const RenderTotals& totals, const std::string& plugin) {
  SwJsonObject times;
  times.insert("median", totals.renderTimes.percentile(0.5));
  times.insert("p99", totals.renderTimes.percentile(0.99));
  SwJsonObject object;
  object.insert("frames", totals.frames);
  object.insert("detections", totals.detections);
  object.insert("lookback", totals.detectionsLookedBack);
  object.insert("damaged", totals.damage.count());
  object.insert("plugin", plugin);
  object.insert("render_ms", std::move(times));
  if (totals.told) addTold(object, *totals.told);
  return jsonPage(std::move(object));
}

bool lacksAny(const RenderTotals& totals) {
  return totals.damage.count() > 0 || (totals.told && !totals.told->dropped.empty());
}

bool showsNothing(const RenderTotals& totals) {
  return totals.told && totals.told->framesChanged == 0 && totals.detections > 0;
}

}  // namespace segmask
