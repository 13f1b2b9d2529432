#pragma once

// The ways to draw a frame's items on the CPU device, behind one function type. All must give the same bytes.

#include <cstddef>
#include <functional>
#include <memory>
#include <ostream>
#include <vector>

#include "blend/scalar_fused.h"
#include "src/Compositor.h"
#include "src/FrameMaskCompositor.h"
#include "src/FramePacker.h"
#include "src/FusedCompositor.h"

namespace seg_mask_overlay {

/// One of them, for frame after frame.
struct CompositorDrawing {
  const char* name;
  std::function<std::unique_ptr<Compositor>()> make;

  friend std::ostream& operator<<(std::ostream& out, const CompositorDrawing& drawing) {
    return out << drawing.name;
  }
};

/// Packs the items and draws them block by block, as the kernel does, at once.
class ScalarCompositor final : public Compositor {
 public:
  void draw(const MappedFrame& frame, const std::vector<seg_mask::OverlayItem>& items, float alpha) override {
    const std::size_t bytes = packer_.plan(frame, items, alpha);
    if (bytes == 0) return;
    std::vector<std::max_align_t> block(bytes / sizeof(std::max_align_t) + 1);
    auto* const memory = reinterpret_cast<unsigned char*>(block.data());
    scalarDrawFused(packer_.write(memory, memory, nullptr));
  }

 private:
  FramePacker packer_;
};

inline std::vector<CompositorDrawing> compositorDrawings() {
  return {{"Scalar", [] { return std::make_unique<ScalarCompositor>(); }},
          {"Fused", [] { return std::make_unique<FusedCompositor>(); }},
          {"FrameMask", [] { return std::make_unique<FrameMaskCompositor>(); }}};
}

}  // namespace seg_mask_overlay
