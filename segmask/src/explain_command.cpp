#include <cstddef>
#include <filesystem>
#include <iostream>
#include <optional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "detection/class_color.h"
#include "host/DetectionStream.h"
#include "host/PictureDetections.h"
#include "host/PluginHost.h"
#include "host/ProducerInputs.h"
#include "host/config_hints.h"
#include "host/verdict_words.h"
#include "io/UserError.h"
#include "src/commands.h"
#include "src/json_values.h"
#include "src/messages.h"
#include "src/render/DetectionHints.h"
#include "src/render/payloads.h"
#include "video/FrameReader.h"
#include "video/pictures.h"

using seg_mask::Outcome;
using seg_mask::RgbColor;
using seg_mask::Verdict;

namespace segmask {
namespace {

/// What is explained: frames or pictures of a detections file, by the rules of a plug-in with these settings.
class Explanation {
 public:
  explicit Explanation(const ExplainOptions& options)
      : options_(options), judge_(decisionSettings(options.config)) {}

  /// All lines, or those of one frame, to standard output. The lines before that frame count too, because
  /// producers stand in the order of their first line.
  void printFrames() {
    const FrameSize size = parseFrameSize(*options_.size);
    setSize({size.width, size.height});
    DetectionStream stream(options_.detections, size_);
    file_ = stream.path();
    while (stream.rest()) {
      const uint64_t frame = stream.rest()->frame;
      if (options_.frame && frame > *options_.frame) break;
      explainFrame(frame, stream.take(frame));
    }
  }

  /// The same for a folder of pictures, each of its own size.
  void printPictures() {
    const std::vector<std::string> paths = picturesOf(*options_.images);
    std::vector<std::string> names;
    names.reserve(paths.size());
    for (const std::string& path : paths) names.push_back(std::filesystem::path(path).filename().string());
    PictureDetections detections(options_.detections, names);
    file_ = detections.path();
    PictureReader reader(paths, false);
    Frame frame;
    for (uint64_t number = 0; reader.next(frame); ++number) {
      if (options_.frame && number > *options_.frame) break;
      setSize({reader.formatOf(number).width, reader.formatOf(number).height});
      image_ = names[static_cast<std::size_t>(number)];
      explainFrame(number, detections.take(number, size_));
    }
  }

  /// On standard error: what `segmask render` warns of, of the lines that were read, and that there was
  /// nothing to explain.
  void warnOfHints() const {
    if (options_.config) {
      for (const std::string& warning : configWarnings(*options_.config, pluginSchema()))
        warn("--config: " + warning);
    }
    for (const std::string& hint : hints_.warnings(file_, true)) warn(hint);
    if (explained_ > 0) return;
    warn(file_ + ": no detection" + (options_.frame ? " for frame " + std::to_string(*options_.frame) : ""));
  }

 private:
  /// That of the default plug-in. Empty where there is none.
  static std::string pluginSchema() {
    try {
      return PluginHost(defaultPluginPath()).plugin().getConfigList();
    } catch (const UserError&) {
      return {};
    }
  }

  void setSize(render_base::FrameSize size) {
    size_ = size;
    hints_.setFrameSize(size);
  }

  void explainFrame(uint64_t frame, std::vector<DetectionLine> lines) {
    for (const DetectionLine& line : lines) hints_.look(line);
    inputs_.advance(frame, std::move(lines));
    if (options_.frame && frame != *options_.frame) return;
    RenderContext context;
    inputs_.fill(context, frame);
    for (const Verdict& verdict : judge_.judge(context, size_)) {
      std::cout << (options_.json ? objectLine(frame, verdict) : textLine(frame, verdict)) << "\n";
      ++explained_;
    }
  }

  std::string textLine(uint64_t frame, const Verdict& verdict) const {
    std::ostringstream text;
    text << file_ << ":" << inputs_.lineOf(*verdict.input) << ": ";
    if (image_.empty()) {
      text << "frame " << frame;
    } else {
      text << image_;
    }
    text << ", " << providerKey(*verdict.input) << ", detections[" << verdict.index << "]: ";
    if (verdict.outcome != Outcome::Drawn) {
      text << "not drawn: " << whyDropped(verdict, judge_.settings(), size_);
    } else {
      const RgbColor color = seg_mask::paletteColor(verdict.detection->class_id);
      text << "drawn, class " << verdict.detection->class_id << " in red " << int{color.r} << ", green "
           << int{color.g} << ", blue " << int{color.b} << ", " << verdict.pixels
           << (verdict.pixels == 1 ? " pixel" : " pixels");
    }
    return oneLine(text.str());  // names are the file's
  }

  std::string objectLine(uint64_t frame, const Verdict& verdict) const {
    SwJsonObject object;
    object.insert("line", inputs_.lineOf(*verdict.input));
    object.insert("frame", frame);
    if (!image_.empty()) object.insert("image", image_);
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
    return jsonLine(std::move(object));
  }

  const ExplainOptions& options_;
  std::string file_;
  render_base::FrameSize size_{};  ///< of the frame or picture that is explained
  std::string image_;              ///< its name; empty for a frame
  ProducerInputs inputs_{0};
  DetectionHints hints_{size_};
  uint64_t explained_ = 0;  ///< detections
  seg_mask::DetectionJudge judge_;
};

}  // namespace

int explain(const ExplainOptions& options) {
  if (options.config) checkConfig(*options.config);
  if (!options.size && !options.images) {
    throw UserError("--size or --images is required, because the frames' size decides what is drawn");
  }
  registerPayloads(false);
  Explanation explanation(options);
  if (options.images) {
    explanation.printPictures();
  } else {
    explanation.printFrames();
  }
  std::cout << std::flush;
  explanation.warnOfHints();
  return kExitDone;
}

}  // namespace segmask
