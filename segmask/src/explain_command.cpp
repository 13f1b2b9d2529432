#include <cstddef>
#include <iostream>
#include <optional>
#include <sstream>

#include "core/SwJsonDocument.h"
#include "detection/class_color.h"
#include "host/DetectionStream.h"
#include "host/ProducerInputs.h"
#include "host/verdict_words.h"
#include "src/commands.h"
#include "src/detection_file_check.h"
#include "src/payloads.h"
#include "video/FrameReader.h"

using seg_mask::Outcome;
using seg_mask::RgbColor;
using seg_mask::Verdict;

namespace segmask {
namespace {

/// What is explained: frames of a detections file, by the rules of a plug-in with these settings.
class Explanation {
 public:
  explicit Explanation(const ExplainOptions& options)
      : options_(options),
        size_(sizeOf(options.size)),
        stream_(options.detections, size_),
        judge_(decisionSettings(options.config)) {}

  /// All lines, or those of one frame, to standard output.
  void print() {
    // The lines before that frame count too, because producers stand in the order of their first line.
    while (const std::optional<uint64_t> frame = nextFrame()) {
      if (options_.frame && *frame > *options_.frame) break;
      inputs_.advance(*frame, stream_.take(*frame));
      if (!options_.frame || *frame == *options_.frame) printFrame(*frame);
    }
    std::cout << std::flush;
  }

 private:
  static render_base::FrameSize sizeOf(const std::string& text) {
    const FrameSize size = parseFrameSize(text);
    return {size.width, size.height};
  }

  std::optional<uint64_t> nextFrame() {
    const std::optional<DetectionLine>& line = stream_.rest();
    return line ? std::optional<uint64_t>(line->frame) : std::nullopt;
  }

  void printFrame(uint64_t frame) {
    RenderContext context;
    inputs_.fill(context, frame);
    for (const Verdict& verdict : judge_.judge(context, size_)) {
      std::cout << (options_.json ? jsonLine(frame, verdict) : textLine(frame, verdict)) << "\n";
    }
  }

  std::string textLine(uint64_t frame, const Verdict& verdict) const {
    std::ostringstream text;
    text << stream_.path() << ":" << inputs_.lineOf(*verdict.input) << ": frame " << frame << ", "
         << providerKey(*verdict.input) << ", detections[" << verdict.index << "]: ";
    if (verdict.outcome != Outcome::Drawn) {
      text << "not drawn: " << whyDropped(verdict, judge_.settings(), size_);
    } else {
      const RgbColor color = seg_mask::paletteColor(verdict.detection->class_id);
      text << "drawn, class " << verdict.detection->class_id << " in red " << int{color.r} << ", green "
           << int{color.g} << ", blue " << int{color.b} << ", " << verdict.pixels
           << (verdict.pixels == 1 ? " pixel" : " pixels");
    }
    return text.str();
  }

  std::string jsonLine(uint64_t frame, const Verdict& verdict) const {
    SwJsonObject object;
    object.insert("line", inputs_.lineOf(*verdict.input));
    object.insert("frame", frame);
    object.insert("producer", providerKey(*verdict.input));
    object.insert("index", verdict.index);
    object.insert("drawn", verdict.outcome == Outcome::Drawn);
    if (verdict.outcome != Outcome::Drawn) {
      object.insert("reason", seg_mask::outcomeWord(verdict.outcome));
      object.insert("why", whyDropped(verdict, judge_.settings(), size_));
    } else {
      const RgbColor color = seg_mask::paletteColor(verdict.detection->class_id);
      SwJsonArray rgb;
      for (const uint8_t part : {color.r, color.g, color.b}) rgb.append(int{part});
      object.insert("class_id", verdict.detection->class_id);
      object.insert("color", std::move(rgb));
      object.insert("pixels", verdict.pixels);
    }
    SwString text;
    SwJsonDocument().generateJson(SwJsonValue(std::move(object)), text, false, 0, {});
    return text.str();
  }

  const ExplainOptions& options_;
  render_base::FrameSize size_;
  DetectionStream stream_;
  ProducerInputs inputs_{0};
  seg_mask::DetectionJudge judge_;
};

}  // namespace

int explain(const ExplainOptions& options) {
  if (options.config) checkConfig(*options.config);
  refuseOtherFiles(options.detections);
  Explanation explanation(options);
  registerPayloads(false);
  explanation.print();
  return kExitDone;
}

}  // namespace segmask
