// The reference host's reading of detections as JSON lines, against a plain model. The input is two bytes,
// which say how far apart the frames are that are asked for and whether white space comes before all lines;
// in that case a third, for how much, so that the end of the reader's first block falls anywhere; then the
// file.

#include <algorithm>
#include <optional>
#include <utility>

#include "fuzz/FuzzInput.h"
#include "fuzz/MemoryFile.h"
#include "fuzz/fuzz_target.h"
#include "fuzz/reference_compact_mask.h"
#include "fuzz/reference_json.h"
#include "fuzz/reference_numbers.h"
#include "host/DetectionStream.h"
#include "io/UserError.h"
#include "test_support/StderrCapture.h"

namespace {

using segmask::DetectionLine;
using Json = reference::JsonValue;
using Kind = Json::Kind;

constexpr int kWidth = 19;
constexpr int kHeight = 7;
constexpr std::int64_t kMostPixels = std::int64_t{1} << 28;
constexpr std::int64_t kMostPixelsOfAFrame = std::int64_t{1} << 32;

constexpr std::size_t kBlock = 65536;

// One line as the rules read: what it says, what is wrong with it, or nothing of either if it is blank.
struct Line {
  std::optional<reference::JsonValue> object;
  std::uint64_t frame = 0;
  std::string error;
  bool isErrorsBegin = false;  // what is wrong with a mask is not modelled, only where; and no hints
  bool gaveUp = false;         // the reference did: too deep, or too large
};

std::string errorOf(const reference::JsonValue& object) {
  const reference::JsonValue* const frame = object.member("frame");
  const reference::JsonValue* const producer = object.member("producer");
  const reference::JsonValue* const detections = object.member("detections");
  if (frame == nullptr) return "no \"frame\"";
  if (frame->kind != Kind::Int || frame->integer < 0) return "\"frame\" is not a whole number from 0 on";
  if (producer == nullptr) return "no \"producer\"";
  if (producer->kind != Kind::String || producer->text.empty()) return "\"producer\" is not a name";
  if (detections != nullptr && detections->kind != Kind::Array) return "\"detections\" is not an array";
  return "";
}

// The pixels that a mask's text has; nothing if its form is wrong.
std::optional<std::int64_t> pixelsOf(const Json& mask) {
  if (mask.kind != Kind::Object) return std::nullopt;
  const Json* const at = mask.member("at");
  const bool hasCounts = mask.member("counts") != nullptr;
  if (mask.member("polygon") != nullptr) {
    if (hasCounts || mask.member("size") != nullptr || at != nullptr) return std::nullopt;
    return kWidth * kHeight;
  }
  const auto size = reference::wholeNumbers(mask.member("size"), 2);
  if (!hasCounts || !size || (*size)[0] < 1 || (*size)[1] < 1) return std::nullopt;
  if ((*size)[0] * (*size)[1] > kMostPixels) return std::nullopt;
  if (at == nullptr) return (*size)[0] * (*size)[1];
  const auto place = reference::wholeNumbers(at, 4);
  if (!place || (*place)[2] < 1 || (*place)[3] < 1) return std::nullopt;
  return kWidth * kHeight;
}

// The pixels of the masks of a frame's lines so far.
struct FramePixels {
  std::optional<std::uint64_t> frame;
  std::int64_t sum = 0;
};

// Replaces the masks of the line's detections by their texts.
void expandMasks(Line& line, FramePixels& pixelsSoFar) {
  if (pixelsSoFar.frame != line.frame) pixelsSoFar = {line.frame, 0};
  Json* detections = nullptr;
  for (std::size_t i = 0; i < line.object->keys.size(); ++i) {
    if (line.object->keys[i] == "detections") detections = &line.object->values[i];
  }
  if (detections == nullptr) return;
  std::vector<Json>& elements = detections->values;
  const auto refuse = [&line](std::size_t index) {
    line.error = "detections[" + std::to_string(index) + "]: ";
    line.isErrorsBegin = true;
  };
  const auto maskOf = [](const Json& element) {
    return element.kind == Kind::Object ? element.member("mask") : nullptr;
  };
  for (std::size_t i = 0; i < elements.size(); ++i) {
    if (maskOf(elements[i]) == nullptr) continue;
    const std::optional<std::int64_t> pixels = pixelsOf(*maskOf(elements[i]));
    pixelsSoFar.sum += pixels.value_or(0);
    const bool areTooMany = pixelsSoFar.sum > kMostPixelsOfAFrame;
    if (!pixels || elements[i].member("class_info") != nullptr || areTooMany) return refuse(i);
  }
  for (std::size_t i = 0; i < elements.size(); ++i) {
    if (maskOf(elements[i]) == nullptr) continue;
    const auto mask = reference::compactMask(*maskOf(elements[i]), kWidth, kHeight, line.gaveUp);
    if (line.gaveUp) return;
    if (!mask) return refuse(i);
    Json expanded = Json();
    expanded.kind = Kind::Object;
    for (std::size_t k = 0; k < elements[i].keys.size(); ++k) {
      if (elements[i].keys[k] != "mask") expanded.put(elements[i].keys[k], elements[i].values[k]);
    }
    expanded.put("class_info", Json::ofString(reference::maskText(*mask)));
    elements[i] = expanded;
  }
}

Line readLine(const std::string& text, FramePixels& pixelsSoFar) {
  Line line;
  bool blank = true;
  for (const char byte : text) blank = blank && reference::isSpace(byte);
  if (blank) return line;
  const reference::ParsedJson parsed = reference::parseJson(text, 0, "");
  line.gaveUp = parsed.tooDeep;
  std::size_t end = parsed.index;
  while (end < text.size() && reference::isSpace(text[end])) ++end;
  if (!parsed.error.empty()) {
    line.error = "not JSON: " + parsed.error;
    line.isErrorsBegin = true;
  } else if (end < text.size()) {
    line.error = "not JSON: Unexpected characters at the end of JSON.";
    line.isErrorsBegin = true;
  } else if (parsed.value.kind != Kind::Object) {
    line.error = "not a JSON object";
  } else {
    line.error = errorOf(parsed.value);
  }
  if (!line.error.empty()) return line;
  line.frame = static_cast<std::uint64_t>(parsed.value.member("frame")->integer);
  line.object = parsed.value;
  expandMasks(line, pixelsSoFar);
  return line;
}

// Control bytes become blanks, and none is left at the end.
std::string onOneLine(std::string text) {
  for (char& letter : text) {
    const auto byte = static_cast<unsigned char>(letter);
    if (byte < 0x20 || byte == 0x7F) letter = ' ';
  }
  while (!text.empty() && text.back() == ' ') text.pop_back();
  return text;
}

// Reads the file's text as the stream does its file; what is wrong ends it.
class Model {
 public:
  Model(std::string path, std::string text) : path_(std::move(path)), text_(std::move(text)) {}

  std::vector<Line> take(std::uint64_t frame) {
    std::vector<Line> lines;
    while (const Line* line = ahead()) {
      if (line->frame > frame) break;
      if (line->frame == frame) lines.push_back(*line);
      ahead_.reset();
    }
    return lines;
  }

  // The next line that says something; null at the end.
  const Line* ahead() {
    while (!ahead_ && error_.empty() && at_ < text_.size()) {
      const std::size_t end = std::min(text_.find('\n', at_), text_.size());
      std::string bytes = text_.substr(at_, end - at_);
      at_ = end + 1;
      if (++number_ == 1 && bytes.substr(0, 3) == "\xEF\xBB\xBF") bytes.erase(0, 3);
      Line line = readLine(bytes, pixelsSoFar_);
      gaveUp_ = gaveUp_ || line.gaveUp;
      if (line.error.empty() && line.object && line.frame < last_) {
        line.error = "frame " + std::to_string(line.frame) + " comes after frame " + std::to_string(last_) +
                     "; lines must be in frame order";
      }
      if (!line.error.empty()) {
        error_ = onOneLine(path_ + ":" + std::to_string(number_) + ": " + line.error);
        isErrorsBegin_ = line.isErrorsBegin;
      } else if (line.object) {
        last_ = line.frame;
        ahead_ = line;
      }
    }
    return ahead_ ? &*ahead_ : nullptr;
  }

  // What has to be thrown by now, or what that begins with; empty if nothing.
  const std::string& error() const { return error_; }
  bool isErrorsBegin() const { return isErrorsBegin_; }
  std::uint64_t lineNumber() const { return number_; }
  bool gaveUp() const { return gaveUp_; }

 private:
  std::string path_;
  std::string text_;
  std::size_t at_ = 0;
  std::uint64_t number_ = 0;
  std::uint64_t last_ = 0;
  FramePixels pixelsSoFar_;
  std::optional<Line> ahead_;
  std::string error_;
  bool isErrorsBegin_ = false;
  bool gaveUp_ = false;
};

void checkLine(const DetectionLine& actual, const Line& expected) {
  fuzz::check(actual.frame == expected.frame, "a line's frame");
  fuzz::checkEqual(actual.producer, expected.object->member("producer")->text, "a line's producer");
  const reference::JsonValue* const detections = expected.object->member("detections");
  fuzz::check(actual.detections == (detections != nullptr ? detections->values.size() : 0),
              "a line's detections");
  fuzz::check(reference::identical(SwJsonValue(*actual.payload.object), *expected.object),
              "a line's payload");
}

// False once an error has come, which ends the stream.
bool checkTake(segmask::DetectionStream& stream, Model& model, std::uint64_t frame) {
  const std::vector<Line> expected = model.take(frame);
  std::string error;
  std::vector<DetectionLine> lines;
  try {
    lines = stream.take(frame);
  } catch (const segmask::UserError& thrown) {
    error = thrown.what();
  }
  if (model.gaveUp()) return false;
  if (model.isErrorsBegin()) error.resize(std::min(error.size(), model.error().size()));
  fuzz::checkEqual(error, model.error(), "what taking a frame throws");
  if (!error.empty()) return false;
  fuzz::check(lines.size() == expected.size(), "the number of a frame's lines");
  for (std::size_t i = 0; i < lines.size(); ++i) checkLine(lines[i], expected[i]);
  return true;
}

// After a frame has been taken the line is there already: nothing is read.
void checkRest(segmask::DetectionStream& stream, Model& model) {
  const Line* const expected = model.ahead();
  const std::optional<DetectionLine>& rest = stream.rest();
  fuzz::check(rest.has_value() == (expected != nullptr), "whether a line is left");
  if (!rest) return;
  checkLine(*rest, *expected);
  fuzz::check(rest->lineNumber == model.lineNumber(), "the number of the line that is left");
}

// What gzip packs is not modelled: only that nothing but an error of the user's comes.
void readPacked(const std::string& path) {
  try {
    segmask::DetectionStream stream(path, {kWidth, kHeight});
    stream.take(UINT64_MAX);
  } catch (const segmask::UserError&) {
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzInput input(data, size);
  const std::uint64_t step = 1 + input.below(4);
  // Seldom, because it is slow.
  const bool isPadded = input.below(32) == 31;
  const std::string padding(isPadded ? kBlock - input.byte() : 0, ' ');
  const std::string text = padding + input.rest();

  const StderrCapture captured;
  const MemoryFile file(text);
  if (text.compare(0, 2, "\x1F\x8B") == 0) {
    readPacked(file.path());
    return 0;
  }
  segmask::DetectionStream stream(file.path(), {kWidth, kHeight});
  Model model(file.path(), text);
  bool good = true;
  for (std::uint64_t frame = 0; good && frame < 12; frame += step) {
    good = checkTake(stream, model, frame);
    if (good && frame % 2 == 0) checkRest(stream, model);
  }
  if (good) checkTake(stream, model, UINT64_MAX);
  fuzz::checkEqual(captured.text(), "", "standard error");
  return 0;
}
