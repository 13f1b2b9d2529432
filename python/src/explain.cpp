#include <nanobind/nanobind.h>
#include <nanobind/stl/string.h>

#include <vector>

#include "detection/DetectionJudge.h"
#include "detection/class_color.h"
#include "host/DetectionPayload.h"
#include "host/ProducerInputs.h"
#include "host/verdict_words.h"
#include "render_base/RenderContext.h"
#include "src/DetectionList.h"
#include "src/Overlay.h"
#include "src/Shutdown.h"
#include "src/bindings.h"

namespace nb = nanobind;

using seg_mask::Outcome;
using seg_mask::Verdict;

namespace segmask_python {
namespace {

nb::dict reasonsOf(const Verdict& verdict, const seg_mask::DecisionSettings& settings,
                   render_base::FrameSize size) {
  nb::dict reasons;
  reasons["index"] = verdict.index;
  reasons["drawn"] = verdict.outcome == Outcome::Drawn;
  if (verdict.outcome == Outcome::Drawn) {
    const seg_mask::RgbColor color = seg_mask::paletteColor(verdict.detection->class_id);
    reasons["class_id"] = verdict.detection->class_id;
    reasons["color"] = nb::make_tuple(color.r, color.g, color.b);
    reasons["pixels"] = verdict.pixels;
  } else {
    reasons["reason"] = seg_mask::outcomeWord(verdict.outcome);
    reasons["why"] = segmask::whyDropped(verdict, settings, size);
  }
  return reasons;
}

nb::list explain(nb::handle detections, int width, int height, double minScore, int maxOverlayDets) {
  segmask::registerDetectionPayload();
  const render_base::FrameSize size{width, height};
  std::vector<segmask::DetectionLine> lines;
  lines.push_back(detectionLine(detections, 0, size));
  segmask::ProducerInputs inputs(0);
  inputs.advance(0, std::move(lines));
  RenderContext context;
  inputs.fill(context, 0);
  seg_mask::DetectionJudge judge({static_cast<float>(minScore), maxOverlayDets});
  const std::vector<Verdict>* verdicts = nullptr;
  {
    const Unlocked unlocked;
    verdicts = &judge.judge(context, size);
  }
  nb::list list;
  for (const Verdict& verdict : *verdicts) list.append(reasonsOf(verdict, judge.settings(), size));
  return list;
}

}  // namespace

void bindExplain(nb::module_& module) {
  module.def("explain", &explain, nb::arg("detections").none(), nb::arg("width"), nb::arg("height"),
             nb::arg("min_score"), nb::arg("max_overlay_dets"));
}

}  // namespace segmask_python
