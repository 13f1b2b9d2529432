// The reference host's reading of detections as JSON lines, against a plain model. The input is two bytes,
// which say how far apart the frames are that are asked for and whether white space comes before all lines;
// in that case a third, for how much, so that the end of the reader's first block falls anywhere; then the
// file.

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <optional>
#include <utility>

#include "fuzz/FuzzInput.h"
#include "fuzz/fuzz_target.h"
#include "fuzz/reference_json.h"
#include "fuzz/reference_numbers.h"
#include "host/DetectionStream.h"
#include "io/UserError.h"
#include "test_support/StderrCapture.h"

namespace {

using segmask::DetectionLine;
using Kind = reference::JsonValue::Kind;

constexpr std::size_t kBlock = 65536;

// A file in memory.
class File {
 public:
  explicit File(const std::string& bytes) : descriptor_(memfd_create("lines", MFD_CLOEXEC)) {
    const ssize_t written = write(descriptor_, bytes.data(), bytes.size());
    fuzz::check(written == static_cast<ssize_t>(bytes.size()), "the file is written");
  }
  ~File() { close(descriptor_); }
  File(const File&) = delete;
  File& operator=(const File&) = delete;

  std::string path() const { return "/proc/self/fd/" + std::to_string(descriptor_); }

 private:
  int descriptor_;
};

// One line as the rules read: what it says, what is wrong with it, or nothing of either if it is blank.
struct Line {
  std::optional<reference::JsonValue> object;
  std::uint64_t frame = 0;
  std::string error;
  bool tooDeep = false;  // the reference gives up
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

Line readLine(const std::string& text) {
  Line line;
  bool blank = true;
  for (const char byte : text) blank = blank && reference::isSpace(byte);
  if (blank) return line;
  const reference::ParsedJson parsed = reference::parseJson(text, 0, "");
  line.tooDeep = parsed.tooDeep;
  std::size_t end = parsed.index;
  while (end < text.size() && reference::isSpace(text[end])) ++end;
  if (!parsed.error.empty()) {
    line.error = "not JSON: " + parsed.error;
  } else if (end < text.size()) {
    line.error = "not JSON: Unexpected characters at the end of JSON.";
  } else if (parsed.value.kind != Kind::Object) {
    line.error = "not a JSON object";
  } else {
    line.error = errorOf(parsed.value);
  }
  if (!line.error.empty()) return line;
  line.frame = static_cast<std::uint64_t>(parsed.value.member("frame")->integer);
  line.object = parsed.value;
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
      Line line = readLine(bytes);
      tooDeep_ = tooDeep_ || line.tooDeep;
      if (line.object && line.frame < last_) {
        line.error = "frame " + std::to_string(line.frame) + " comes after frame " + std::to_string(last_) +
                     "; lines must be in frame order";
      }
      if (!line.error.empty()) {
        error_ = onOneLine(path_ + ":" + std::to_string(number_) + ": " + line.error);
      } else if (line.object) {
        last_ = line.frame;
        ahead_ = line;
      }
    }
    return ahead_ ? &*ahead_ : nullptr;
  }

  // What has to be thrown by now; empty if nothing.
  const std::string& error() const { return error_; }
  std::uint64_t lineNumber() const { return number_; }
  bool gaveUp() const { return tooDeep_; }

 private:
  std::string path_;
  std::string text_;
  std::size_t at_ = 0;
  std::uint64_t number_ = 0;
  std::uint64_t last_ = 0;
  std::optional<Line> ahead_;
  std::string error_;
  bool tooDeep_ = false;
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

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzInput input(data, size);
  const std::uint64_t step = 1 + input.below(4);
  // Seldom, because it is slow.
  const bool isPadded = input.below(32) == 31;
  const std::string padding(isPadded ? kBlock - input.byte() : 0, ' ');
  const std::string text = padding + input.rest();

  const StderrCapture captured;
  const File file(text);
  segmask::DetectionStream stream(file.path());
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
