#include "detection/overlay_item.h"

#include <algorithm>
#include <optional>

#include "mask/mask_rows.h"
#include "mask/nearest_map.h"

namespace seg_mask {
namespace {

/// How many of the `count` pixels of `row` at `columns`, which never decrease, are inside.
std::size_t countShown(const PackedRow& row, const int* columns, std::size_t count) {
  const auto first = static_cast<std::size_t>(columns[0]);
  const auto last = static_cast<std::size_t>(columns[count - 1]);
  RowEdges edges;
  // Most rows of most masks have nothing there, which is found out by words.
  if (findEdges({row.bits, row.size, row.first + first, last - first + 1}, edges) && edges.count == 0)
    return 0;
  const MaskView pixels{0, 0, row.bits, row.size};
  return static_cast<std::size_t>(std::count_if(columns, columns + count, [&](int column) {
    return pixels.inside(row.first + static_cast<std::size_t>(column));
  }));
}

}  // namespace

Outcome makeOverlayItem(const DetView& detection, float minScore, MaskArena& arena, OverlayItem& item,
                        MaskTextFault* fault) {
  if (isBelow(detection, minScore)) return Outcome::LowScore;
  const std::optional<MaskView> mask = decodeMaskText(detection.class_info, arena, fault);
  if (!mask) return Outcome::InvalidMask;
  item = {*mask, {detection.x, detection.y, detection.w, detection.h}, classColor(detection.class_id)};
  return Outcome::Drawn;
}

std::vector<OverlayItem> makeOverlayItems(const std::vector<DetView>& detections, float minScore,
                                          MaskArena& arena) {
  std::size_t room = 0;
  for (const DetView& detection : detections) {
    if (!isBelow(detection, minScore)) room += maskTextRoom(detection.class_info);
  }
  arena.beginFrame(room);

  std::vector<OverlayItem> items;
  items.reserve(detections.size());
  OverlayItem item{};
  for (const DetView& detection : detections) {
    if (makeOverlayItem(detection, minScore, arena, item) == Outcome::Drawn) items.push_back(item);
  }
  return items;
}

DrawnPixels DrawnPixelCounter::count(const OverlayItem& item, render_base::FrameSize frame,
                                     std::size_t limit) {
  const std::optional<render_base::LumaRect> rect = render_base::clipBox(item.box, frame);
  if (!rect) return {Outcome::BoxOutside, 0};
  const std::vector<int>& columns = columns_.get(item.mask.width, frame.width).maskPixels();
  const std::vector<int>& rows = rows_.get(item.mask.height, frame.height).maskPixels();
  const int* const shownColumns = columns.data() + rect->x0;
  const auto width = static_cast<std::size_t>(rect->x1 - rect->x0) + 1;
  std::size_t count = 0;
  std::size_t inRow = 0;
  int previous = -1;
  for (int y = rect->y0; y <= rect->y1 && count < limit; ++y) {
    const int maskRow = rows[static_cast<std::size_t>(y)];
    if (maskRow != previous) inRow = countShown(packedRow(item.mask, maskRow), shownColumns, width);
    previous = maskRow;
    count += inRow;
  }
  return {count > 0 ? Outcome::Drawn : Outcome::NoPixelInBox, count};
}

}  // namespace seg_mask
