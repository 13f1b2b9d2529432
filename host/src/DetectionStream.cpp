#include "host/DetectionStream.h"

#include <utility>

#include "core/SwJsonArray.h"
#include "core/SwJsonDocument.h"
#include "io/UserError.h"
#include "src/CompactMask.h"

namespace segmask {
namespace {

constexpr char kByteOrderMark[] = "\xEF\xBB\xBF";
constexpr std::size_t kByteOrderMarkBytes = 3;

bool isBlank(const std::string& text) {
  return text.find_first_not_of(" \t\r\v\f") == std::string::npos;
}

}  // namespace

DetectionStream::DetectionStream(const std::string& path, render_base::FrameSize frameSize)
    : reader_(path), frameSize_(frameSize) {}

std::vector<DetectionLine> DetectionStream::take(uint64_t frame) {
  std::vector<DetectionLine> lines;
  readAhead();
  while (ahead_ && ahead_->frame <= frame) {
    if (ahead_->frame == frame) lines.push_back(std::move(*ahead_));
    ahead_.reset();
    readAhead();
  }
  return lines;
}

const std::optional<DetectionLine>& DetectionStream::rest() {
  readAhead();
  return ahead_;
}

void DetectionStream::readAhead() {
  if (ahead_ || atEnd_) return;
  ahead_ = readLine();
  atEnd_ = !ahead_;
}

std::optional<DetectionLine> DetectionStream::readLine() {
  while (reader_.next(text_)) {
    if (reader_.lineNumber() == 1 && text_.compare(0, kByteOrderMarkBytes, kByteOrderMark) == 0) {
      text_.erase(0, kByteOrderMarkBytes);
    }
    if (isBlank(text_)) continue;
    DetectionLine line = parse(text_);
    if (lastFrame_ && line.frame < *lastFrame_) {
      refuse("frame " + std::to_string(line.frame) + " comes after frame " + std::to_string(*lastFrame_) +
             "; lines must be in frame order");
    }
    lastFrame_ = line.frame;
    return line;
  }
  return std::nullopt;
}

DetectionLine DetectionStream::parse(const std::string& text) const {
  SwJsonDocument document;
  SwString error;
  if (!document.loadFromJson(text, error)) refuse("not JSON: " + error.str());
  SwJsonValue root = document.takeRoot();
  SwJsonObject* const object = root.object();
  if (!object) refuse("not a JSON object");

  const SwJsonValue* const frame = object->find("frame");
  if (!frame) refuse("no \"frame\"");
  if (!frame->isInt() || frame->integer() < 0) refuse("\"frame\" is not a whole number from 0 on");
  const SwJsonValue* const producer = object->find("producer");
  if (!producer) refuse("no \"producer\"");
  if (!producer->isString() || producer->text().empty()) refuse("\"producer\" is not a name");
  SwJsonValue* const detections = object->find("detections");
  if (detections && !detections->isArray()) refuse("\"detections\" is not an array");

  DetectionLine line;
  line.frame = static_cast<uint64_t>(frame->integer());
  line.producer = producer->text();
  if (detections && detections->array()) {
    expandMasks(*detections->array());
    line.detections = detections->array()->size();
  }
  line.payload.object = std::make_shared<const SwJsonObject>(std::move(*object));
  line.lineNumber = reader_.lineNumber();
  return line;
}

/// Replaces compact masks by their texts. All of them are looked at first, so that a line of many large masks
/// is refused before the first of them takes memory.
void DetectionStream::expandMasks(SwJsonArray& detections) const {
  int64_t pixels = 0;
  forEachCompactMask(detections, [&](SwJsonObject& detection, const CompactMask& mask) {
    if (detection.contains("class_info")) throw UserError(R"(both "class_info" and "mask")");
    pixels += mask.pixels();
    if (pixels > kMostMaskPixels) {
      throw UserError("the line's masks have more than " + std::to_string(kMostMaskPixels) +
                      " pixels together");
    }
  });
  forEachCompactMask(detections, [](SwJsonObject& detection, const CompactMask& mask) {
    detection.insert("class_info", SwJsonValue(mask.text()));
    detection.remove("mask");
  });
}

template <class Visit>
void DetectionStream::forEachCompactMask(SwJsonArray& detections, const Visit& visit) const {
  for (std::size_t i = 0; i < detections.size(); ++i) {
    SwJsonObject* const detection = detections[i].object();
    const SwJsonValue* const mask = detection ? detection->find("mask") : nullptr;
    if (!mask) continue;
    try {
      visit(*detection, CompactMask(*mask, frameSize_));
    } catch (const UserError& error) {
      refuse("detections[" + std::to_string(i) + "]: " + error.what());
    }
  }
}

void DetectionStream::refuse(const std::string& what) const {
  throw UserError(reader_.path() + ":" + std::to_string(reader_.lineNumber()) + ": " + what);
}

}  // namespace segmask
