#include "src/ItemPainter.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "blend/nv12_blend.h"

namespace seg_mask_overlay {
namespace {

using seg_mask::PackedRow;
using seg_mask::RowEdges;

/// Whether blending the row's spans one by one takes less time than blending all columns of the box by bytes:
/// a span takes a vector in each frame row, however short it is.
bool areWorthSpans(const RowEdges& edges, int columns) {
  constexpr int kFew = 8;
  constexpr int kColumnsAnEdge = 16;
  return edges.count <= kFew || edges.count * kColumnsAnEdge <= columns;
}

bool ascendsByOne(const int32_t* map, int from, int to) {
  int x = from;
  while (x < to && map[x + 1] == map[x] + 1) ++x;
  return x == to;
}

/// Appends a span to those of a row, or widens the last one that it touches.
void append(Span span, Span* spans, int& count) {
  if (count > 0 && spans[count - 1].to >= span.from) {
    spans[count - 1].to = std::max(spans[count - 1].to, span.to);
  } else {
    spans[count++] = span;
  }
}

}  // namespace

std::size_t ItemPainter::scratchBytes(int frameWidth) {
  const auto columns = static_cast<std::size_t>(frameWidth);
  return 2 * columns + seg_mask::denseRowScratch(columns);
}

ItemPainter::ItemPainter(const FusedFrame& frame, const FusedItem& item, const ColorBlend& blend,
                         const SimdTarget* target)
    : frame_(frame),
      item_(item),
      blend_(blend),
      target_(target),
      cover_(coverRect(item.luma)),
      columns_(frame.maps + item.columns),
      rows_(frame.maps + item.rows),
      columnsPerMaskColumn_(static_cast<double>(frame.size.width) / item.maskWidth),
      showsEachColumn_(ascendsByOne(columns_, cover_.x0, cover_.x1)),
      rowScratch_(frame.scratch + 2 * std::ptrdiff_t{frame.size.width}) {
  covers_[0].bytes = frame.scratch;
  covers_[1].bytes = frame.scratch + frame.size.width;
}

void ItemPainter::draw() {
  RowCover* cover = covers_.data();
  RowCover* above = cover + 1;
  for (int y = cover_.y0; y <= cover_.y1;) {
    const int end = lastRowOf(y) + 1;
    readRow(maskRow(y), *cover);
    drawLuma(std::max(y, item_.luma.y0), end, *cover);
    // A chroma row under rows of two mask rows is blended once, where either covers it. There is a row above
    // an odd one, because cover_ begins at an even one.
    if (y % 2 != 0) drawChromaBetween(y / 2, *above, *cover);
    drawChroma((y + 1) / 2, end / 2, *cover);
    std::swap(cover, above);
    y = end;
  }
}

/// The last row of the box that shows the same mask row as `y`.
int ItemPainter::lastRowOf(int y) const {
  const int row = maskRow(y);
  while (y < cover_.y1 && maskRow(y + 1) == row) ++y;
  return y;
}

/// The first column of cover_ that shows `maskColumn` or a later one; behind the box when none does.
int ItemPainter::firstColumnFrom(int maskColumn) const {
  const int estimate = static_cast<int>(maskColumn * columnsPerMaskColumn_);  // corrected by the map itself
  int x = std::clamp(estimate, cover_.x0, cover_.x1 + 1);
  while (x > cover_.x0 && columns_[x - 1] >= maskColumn) --x;
  while (x <= cover_.x1 && columns_[x] < maskColumn) ++x;
  return x;
}

void ItemPainter::readRow(int maskRow, RowCover& cover) {
  const int first = maskColumn(cover_.x0);
  const int last = maskColumn(cover_.x1);
  const int64_t start = item_.firstBit + int64_t{maskRow} * item_.rowBits + first;
  const PackedRow shown{frame_.bits, frame_.bitsSize, static_cast<std::size_t>(start),
                        static_cast<std::size_t>(last - first) + 1};
  RowEdges edges;
  cover.isSpans = findEdges(shown, edges) && areWorthSpans(edges, cover_.x1 - cover_.x0 + 1);
  if (cover.isSpans) {
    readSpans(edges, cover);
  } else {
    readBytes(shown, cover);
  }
}

void ItemPainter::readSpans(const RowEdges& edges, RowCover& cover) const {
  const int first = maskColumn(cover_.x0);
  const int end = cover_.x1 + 1;
  const int lumaStart = item_.luma.x0;
  const int chromaStart = item_.chroma.x0;
  cover.lumaCount = 0;
  cover.chromaCount = 0;
  for (int i = 0; i < edges.count; i += 2) {
    const int from = firstColumnFrom(first + edges.pixels[i]);
    const int to = i + 1 < edges.count ? firstColumnFrom(first + edges.pixels[i + 1]) : end;
    if (from >= to) continue;  // the frame shows none of the run's pixels
    const int lumaFrom = std::max(from, lumaStart);
    if (lumaFrom < to) append({lumaFrom - lumaStart, to - lumaStart}, cover.luma.data(), cover.lumaCount);
    // Where the frame leaves mask pixels out, two runs may share a chroma sample or follow each other.
    const Span chroma{2 * (from / 2 - chromaStart),
                      2 * (std::min((to + 1) / 2, item_.chroma.x1) - chromaStart)};
    if (chroma.from < chroma.to) append(chroma, cover.chroma.data(), cover.chromaCount);
  }
}

void ItemPainter::readBytes(const PackedRow& row, RowCover& cover) const {
  if (showsEachColumn_) {
    expandRow(row, cover.bytes);
  } else {
    sampleDenseRow(row, columns_ + cover_.x0, static_cast<std::size_t>(cover_.x1 - cover_.x0) + 1,
                   maskColumn(cover_.x0), rowScratch_, cover.bytes);
  }
}

/// The cover as bytes, two for each sample of the chroma rectangle. Spans become whole samples.
const unsigned char* ItemPainter::chromaBytes(RowCover& cover) const {
  if (cover.isSpans) {
    std::memset(cover.bytes, 0, static_cast<std::size_t>(chromaWidth()));
    for (int i = 0; i < cover.chromaCount; ++i) {
      const Span span = cover.chroma[static_cast<std::size_t>(i)];
      std::memset(cover.bytes + span.from, 255, static_cast<std::size_t>(span.to - span.from));
    }
  }
  return cover.bytes;
}

void ItemPainter::drawLuma(int from, int to, const RowCover& cover) const {
  if (from >= to) return;
  const LumaRect& luma = item_.luma;
  unsigned char* const samples = frame_.yPlane + sampleOffset(from, frame_.yPitch, luma.x0);
  const int width = luma.x1 - luma.x0 + 1;
  if (cover.isSpans) {
    blendLumaSpans({samples, frame_.yPitch, width, to - from, cover.luma.data(), cover.lumaCount}, blend_.y,
                   target_);
  } else {
    blendLumaRows({samples, frame_.yPitch, cover.bytes + (luma.x0 - cover_.x0), 0,
                   static_cast<std::size_t>(width), to - from},
                  blend_.y, target_);
  }
}

SpannedRows ItemPainter::chromaArea(int from, int to, const Span* spans, int count) const {
  unsigned char* const samples = frame_.uvPlane + sampleOffset(from, frame_.uvPitch, 2 * item_.chroma.x0);
  return {samples, frame_.uvPitch, chromaWidth(), to - from, spans, count};
}

/// Draws chroma rows whose two luma rows show the same mask row.
void ItemPainter::drawChroma(int from, int to, const RowCover& cover) const {
  if (from >= to || chromaWidth() <= 0) return;
  const SpannedRows area = chromaArea(from, to, cover.chroma.data(), cover.chromaCount);
  if (cover.isSpans) {
    blendChromaSpans(area, blend_.u, blend_.v, target_);
  } else {
    blendChromaRows(
        {area.samples, area.pitch, cover.bytes, 0, static_cast<std::size_t>(area.bytes), area.rows}, blend_.u,
        blend_.v, target_);
  }
}

/// Draws a chroma row whose luma rows show two mask rows.
void ItemPainter::drawChromaBetween(int row, RowCover& above, RowCover& below) const {
  if (chromaWidth() <= 0) return;
  if (above.isSpans && below.isSpans) {
    std::array<Span, 2 * static_cast<std::size_t>(RowCover::kSpans)> both;
    const auto end = std::merge(above.chroma.begin(), above.chroma.begin() + above.chromaCount,
                                below.chroma.begin(), below.chroma.begin() + below.chromaCount, both.begin(),
                                [](Span a, Span b) { return a.from < b.from; });
    int count = 0;
    for (auto span = both.begin(); span != end; ++span) append(*span, both.data(), count);
    blendChromaSpans(chromaArea(row, row + 1, both.data(), count), blend_.u, blend_.v, target_);
    return;
  }
  const unsigned char* const top = chromaBytes(above);
  const unsigned char* const bottom = chromaBytes(below);
  const SpannedRows area = chromaArea(row, row + 1, nullptr, 0);
  blendChromaRows({area.samples, area.pitch, top, bottom - top, static_cast<std::size_t>(area.bytes), 1},
                  blend_.u, blend_.v, target_);
}

}  // namespace seg_mask_overlay
