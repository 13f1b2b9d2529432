#include "src/Overlay.h"

#include <array>
#include <charconv>
#include <cstdio>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "host/DetectionPayload.h"
#include "host/PluginChoice.h"
#include "io/UserError.h"
#include "src/DetectionList.h"
#include "src/HeldBuffer.h"
#include "src/Shutdown.h"
#include "src/bindings.h"

namespace nb = nanobind;

using segmask::Nv12Layout;

namespace segmask_python {
namespace {

/// The shortest text that reads as this very number. Not by printf, whose decimal point is the locale's.
std::string numberText(double number) {
  std::array<char, 32> text{};
  return {text.data(), std::to_chars(text.data(), text.data() + text.size(), number).ptr};
}

void checkChroma(const HeldBuffer& uv, const Nv12Layout& layout) {
  const auto columns = static_cast<int>(layout.chromaRowBytes());
  if (uv.rows() == layout.chromaRows() && uv.columns() == columns) return;
  std::array<char, 160> text{};
  std::snprintf(text.data(), text.size(),
                "uv: its shape (%d, %d) is not (%d, %d), which belongs to y of (%d, %d)", uv.rows(),
                uv.columns(), layout.chromaRows(), columns, layout.height, layout.width);
  throw nb::value_error(text.data());
}

}  // namespace

std::string Settings::config() const {
  return R"({"alpha": )" + numberText(alpha) + R"(, "min_score": )" + numberText(minScore) +
         R"(, "max_overlay_dets": )" + std::to_string(maxOverlayDets) + "}";
}

std::string choosePlugin(bool fast) {
  try {
    return segmask::PluginChoice{std::nullopt, fast}.pathInProcess();
  } catch (const segmask::UserError& error) {
    throw segmask::UserError("fast: " + std::string(error.what()));
  }
}

Overlay::Overlay(const Settings& settings) : host_(choosePlugin(settings.fast)) {
  segmask::registerDetectionPayload();
  host_.plugin().setConfig(settings.config());
}

bool Overlay::draw(nb::handle y, nb::handle uv, nb::handle detections) {
  const HeldBuffer luma(y.ptr(), "y", HeldBuffer::Access::Write);
  const HeldBuffer chroma(uv.ptr(), "uv", HeldBuffer::Access::Write);
  const Nv12Layout layout{luma.columns(), luma.rows()};
  checkChroma(chroma, layout);
  std::vector<segmask::DetectionLine> lines;
  lines.push_back(detectionLine(detections, 0, {layout.width, layout.height}));

  const Unlocked unlocked;
  const std::lock_guard<std::mutex> lock(mutex_);
  const uint64_t number = next_++;
  lines[0].frame = number;
  inputs_.advance(number, std::move(lines));
  return rendererFor(layout).render(host_.plugin(), number, {luma.bytes(), luma.stride()},
                                    {chroma.bytes(), chroma.stride()}, inputs_);
}

segmask::PlanesRenderer& Overlay::rendererFor(const Nv12Layout& layout) {
  if (!renderer_ || layout.width != layout_.width || layout.height != layout_.height) {
    renderer_ = std::make_unique<segmask::PlanesRenderer>(layout);
    layout_ = layout;
  }
  return *renderer_;
}

void bindOverlay(nb::module_& module) {
  nb::class_<Overlay>(module, "Overlay")
      .def(
          "__init__",
          [](Overlay* self, double alpha, double minScore, int maxOverlayDets, bool fast) {
            new (self) Overlay({alpha, minScore, maxOverlayDets, fast});
          },
          nb::arg("alpha"), nb::arg("min_score"), nb::arg("max_overlay_dets"), nb::arg("fast"))
      .def("draw", &Overlay::draw, nb::arg("y").none(), nb::arg("uv").none(), nb::arg("detections").none());
}

}  // namespace segmask_python
