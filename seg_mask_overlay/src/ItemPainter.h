#pragma once

#include <array>
#include <cstddef>

#include "blend/fused_frame.h"
#include "blend/host_blend.h"
#include "mask/mask_rows.h"

namespace seg_mask_overlay {

/// How a colour is blended with one weight.
struct ColorBlend {
  ChannelBlend y, u, v;
};

/// Draws one item of a packed frame on the CPU, straight from the bits of its mask. The frame's addresses are
/// of host memory. Allocates nothing and throws nothing, because a stream draws in a host function.
class ItemPainter {
 public:
  /// Bytes of scratch memory for a frame of that width.
  static std::size_t scratchBytes(int frameWidth);

  /// Uses FusedFrame::scratch, which only one painter at a time may do.
  ItemPainter(const FusedFrame& frame, const FusedItem& item, const ColorBlend& blend,
              const SimdTarget* target);

  void draw();

 private:
  /// What a mask row covers of the frame rows that show it: spans where it has few edges, otherwise a byte a
  /// column of cover_, 255 inside and 0 outside.
  struct RowCover {
    static constexpr int kSpans = seg_mask::RowEdges::kCapacity / 2;
    bool isSpans;
    int lumaCount, chromaCount;
    std::array<Span, kSpans> luma;    ///< by bytes from the box's first column
    std::array<Span, kSpans> chroma;  ///< by bytes from its first chroma sample
    unsigned char* bytes;
  };

  int maskColumn(int x) const { return columns_[x]; }
  int maskRow(int y) const { return rows_[y]; }
  int lastRowOf(int y) const;
  int firstColumnFrom(int maskColumn) const;

  void readRow(int maskRow, RowCover& cover);
  void readSpans(const seg_mask::RowEdges& edges, RowCover& cover) const;
  void readBytes(const seg_mask::PackedRow& row, RowCover& cover) const;
  const unsigned char* chromaBytes(RowCover& cover) const;

  void drawLuma(int from, int to, const RowCover& cover) const;
  void drawChroma(int from, int to, const RowCover& cover) const;
  void drawChromaBetween(int row, RowCover& above, RowCover& below) const;
  SpannedRows chromaArea(int from, int to, const Span* spans, int count) const;
  int chromaWidth() const { return 2 * (item_.chroma.x1 - item_.chroma.x0); }

  const FusedFrame& frame_;
  const FusedItem& item_;
  const ColorBlend& blend_;
  const SimdTarget* const target_;
  const LumaRect cover_;          ///< coverRect of the item
  const int32_t* const columns_;  ///< the item's maps, by frame pixel
  const int32_t* const rows_;
  const double columnsPerMaskColumn_;
  const bool showsEachColumn_;       ///< the box shows its mask columns one by one
  unsigned char* const rowScratch_;  ///< of sampleDenseRow
  std::array<RowCover, 2> covers_;
};

}  // namespace seg_mask_overlay
