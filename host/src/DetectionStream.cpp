#include "host/DetectionStream.h"

#include <utility>

#include "core/SwJsonArray.h"
#include "core/SwJsonDocument.h"
#include "io/UserError.h"

namespace segmask {
namespace {

constexpr char kByteOrderMark[] = "\xEF\xBB\xBF";
constexpr std::size_t kByteOrderMarkBytes = 3;

bool isBlank(const std::string& text) {
  return text.find_first_not_of(" \t\r\v\f") == std::string::npos;
}

}  // namespace

DetectionStream::DetectionStream(const std::string& path) : reader_(path) {}

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
    if (line.frame < lastFrame_) {
      refuse("frame " + std::to_string(line.frame) + " comes after frame " + std::to_string(lastFrame_) +
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
  const SwJsonObject* const object = document.root().object();
  if (!object) refuse("not a JSON object");

  const SwJsonValue* const frame = object->find("frame");
  if (!frame) refuse("no \"frame\"");
  if (!frame->isInt() || frame->integer() < 0) refuse("\"frame\" is not a whole number from 0 on");
  const SwJsonValue* const producer = object->find("producer");
  if (!producer) refuse("no \"producer\"");
  if (!producer->isString() || producer->text().empty()) refuse("\"producer\" is not a name");
  const SwJsonValue* const detections = object->find("detections");
  if (detections && !detections->isArray()) refuse("\"detections\" is not an array");

  DetectionLine line;
  line.frame = static_cast<uint64_t>(frame->integer());
  line.producer = producer->text();
  line.detections = detections && detections->array() ? detections->array()->size() : 0;
  line.payload.object = std::make_shared<const SwJsonObject>(*object);
  line.lineNumber = reader_.lineNumber();
  return line;
}

void DetectionStream::refuse(const std::string& what) const {
  throw UserError(reader_.path() + ":" + std::to_string(reader_.lineNumber()) + ": " + what);
}

}  // namespace segmask
