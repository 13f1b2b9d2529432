#include "import/DetectionLines.h"

#include <utility>

#include "core/SwJsonValue.h"
#include "io/LineReader.h"
#include "io/UserError.h"

namespace segmask {
namespace {

std::string boxText(const ImportedDetection& detection) {
  // A mask without any pixel has no box; the whole frame lets explain say what is wrong.
  seg_mask::MaskExtent box = detection.extent;
  if (box.pixels == 0) {
    box.w = detection.width;
    box.h = detection.height;
  }
  return R"("x": )" + std::to_string(box.x) + R"(, "y": )" + std::to_string(box.y) + R"(, "w": )" +
         std::to_string(box.w) + R"(, "h": )" + std::to_string(box.h);
}

std::string quoted(const std::string& text) {
  return "\"" + SwJsonValue::escapeString(text) + "\"";
}

}  // namespace

DetectionLines::DetectionLines(TextOutput& output, std::string producer)
    : output_(output), producer_(std::move(producer)) {}

void DetectionLines::beginFrame(uint64_t frame, const std::string& image) {
  place_ = "frame " + std::to_string(frame);
  lineBytes_ = 0;
  isFirst_ = true;
  std::string text = "{\"frame\": " + std::to_string(frame);
  if (!image.empty()) text += ", \"image\": " + quoted(image);
  put(text + ", \"producer\": " + quoted(producer_) + ", \"detections\": [");
}

void DetectionLines::add(const ImportedDetection& detection) {
  std::string text = isFirst_ ? "{" : ", {";
  if (!detection.id.empty()) text += "\"id\": " + detection.id + ", ";
  text += boxText(detection) + ", \"class_id\": " + std::to_string(detection.classId) +
          ", \"score\": " + detection.score + ", \"mask\": " + detection.mask + "}";
  put(text);
  isFirst_ = false;
  ++detections_;
}

void DetectionLines::endFrame() {
  put("]}");
  output_.write("\n");
  ++frames_;
}

void DetectionLines::put(const std::string& text) {
  lineBytes_ += text.size();
  if (lineBytes_ > LineReader::kMostLineBytes) {
    throw UserError(place_ + " has more than " + std::to_string(LineReader::kMostLineBytes >> 20) +
                    " MiB of detections");
  }
  output_.write(text);
}

}  // namespace segmask
