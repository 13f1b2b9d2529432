#include "host/DetectionLineReader.h"

#include <memory>
#include <utility>

#include "core/SwJsonArray.h"
#include "core/SwJsonDocument.h"
#include "host/compact_masks.h"
#include "host/parse_hint.h"
#include "io/UserError.h"
#include "src/other_files.h"

namespace segmask {
namespace {

constexpr char kByteOrderMark[] = "\xEF\xBB\xBF";
constexpr std::size_t kByteOrderMarkBytes = 3;

bool isBlank(const std::string& text) {
  return text.find_first_not_of(" \t\r\v\f") == std::string::npos;
}

}  // namespace

std::optional<RawDetectionLine> DetectionLineReader::next() {
  if (reader_.lineNumber() > 0) return nextLine();
  const std::string beginning(reader_.beginning());
  refuseEndlessOtherFile(beginning, reader_);
  try {
    return nextLine();
  } catch (const UserError&) {
    refuseOtherFile(beginning, reader_);
    throw;
  }
}

std::optional<RawDetectionLine> DetectionLineReader::nextLine() {
  while (reader_.next(text_)) {
    if (reader_.lineNumber() == 1 && text_.compare(0, kByteOrderMarkBytes, kByteOrderMark) == 0) {
      text_.erase(0, kByteOrderMarkBytes);
    }
    if (!isBlank(text_)) return parse();
  }
  return std::nullopt;
}

RawDetectionLine DetectionLineReader::parse() const {
  RawDetectionLine line;
  line.lineNumber = reader_.lineNumber();
  SwJsonDocument document;
  SwString error;
  if (!document.loadFromJson(text_, error)) {
    refuse(line.lineNumber, "not JSON: " + error.str() + parseHint(text_, error.str()));
  }
  SwJsonValue root = document.takeRoot();
  SwJsonObject* const object = root.object();
  if (!object) refuse(line.lineNumber, "not a JSON object");

  readPlace(*object, line);
  const SwJsonValue* const producer = object->find("producer");
  if (!producer) refuse(line.lineNumber, "no \"producer\"");
  if (!producer->isString() || producer->text().empty()) {
    refuse(line.lineNumber, "\"producer\" is not a name");
  }
  const SwJsonValue* const detections = object->find("detections");
  if (detections && !detections->isArray()) refuse(line.lineNumber, "\"detections\" is not an array");
  line.producer = producer->text();
  line.object = std::move(*object);
  return line;
}

void DetectionLineReader::readPlace(const SwJsonObject& object, RawDetectionLine& line) const {
  const SwJsonValue* const image = images_ == Images::Named ? object.find("image") : nullptr;
  if (image) {
    if (!image->isString() || image->text().empty()) refuse(line.lineNumber, "\"image\" is not a name");
    line.image = image->text();
    return;
  }
  const SwJsonValue* const frame = object.find("frame");
  if (!frame)
    refuse(line.lineNumber, images_ == Images::Named ? R"(no "image" and no "frame")" : "no \"frame\"");
  if (!frame->isInt() || frame->integer() < 0) {
    refuse(line.lineNumber, "\"frame\" is not a whole number from 0 on");
  }
  line.frame = static_cast<uint64_t>(frame->integer());
}

DetectionLine DetectionLineReader::expand(RawDetectionLine raw, render_base::FrameSize frame) {
  if (expandedFrame_ != raw.frame) maskPixels_ = 0;
  expandedFrame_ = raw.frame;
  DetectionLine line;
  line.frame = raw.frame;
  line.producer = std::move(raw.producer);
  line.lineNumber = raw.lineNumber;
  SwJsonValue* const detections = raw.object.find("detections");
  if (detections && detections->array()) {
    try {
      expandCompactMasks(*detections->array(), frame, maskPixels_);
    } catch (const UserError& error) {
      refuse(raw.lineNumber, error.what());
    }
    line.detections = detections->array()->size();
  }
  line.payload.object = std::make_shared<const SwJsonObject>(std::move(raw.object));
  return line;
}

void DetectionLineReader::checkOrder(uint64_t before, uint64_t frame, uint64_t lineNumber) const {
  if (frame >= before) return;
  refuse(lineNumber, "frame " + std::to_string(frame) + " comes after frame " + std::to_string(before) +
                         "; lines must be in frame order");
}

void DetectionLineReader::refuse(uint64_t lineNumber, const std::string& what) const {
  throw UserError(path() + ":" + std::to_string(lineNumber) + ": " + what);
}

}  // namespace segmask
