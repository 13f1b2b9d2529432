#include "src/render/DetectionHints.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

#include "core/SwJsonArray.h"

namespace segmask {
namespace {

constexpr std::array<const char*, 4> kSides{"x", "y", "w", "h"};

/// A member, and a name by which other programs call it.
struct OtherName {
  const char* name;
  const char* other;
};

constexpr OtherName kLineNames[] = {{"detections", "dets"},
                                    {"detections", "detection"},
                                    {"detections", "objects"},
                                    {"detections", "predictions"}};
constexpr OtherName kDetectionNames[] = {
    {"class_id", "class"}, {"class_id", "label"}, {"class_id", "category_id"}, {"class_info", "segmentation"},
    {"class_info", "seg"}, {"class_info", "rle"}, {"score", "confidence"},     {"score", "conf"},
    {"x", "bbox"},         {"x", "box"}};

struct NumberBox {
  double x, y, w, h;
};

std::optional<double> numberOf(const SwJsonObject& object, const char* key) {
  const SwJsonValue& value = object[key];
  if (value.isInt()) return static_cast<double>(value.integer());
  if (value.isDouble()) return value.number();
  return std::nullopt;
}

/// The box where all of its sides are numbers.
std::optional<NumberBox> boxOf(const SwJsonObject& object) {
  const auto x = numberOf(object, "x");
  const auto y = numberOf(object, "y");
  const auto w = numberOf(object, "w");
  const auto h = numberOf(object, "h");
  if (!x || !y || !w || !h) return std::nullopt;
  return NumberBox{*x, *y, *w, *h};
}

bool isWithinOne(double value) {
  return value >= 0.0 && value <= 1.0;
}

/// Whether the box has corners in 0 to 1, and not just a corner pixel.
bool isInFractions(const NumberBox& box) {
  return isWithinOne(box.x) && isWithinOne(box.y) && isWithinOne(box.w) && isWithinOne(box.h) &&
         (box.w != std::floor(box.w) || box.h != std::floor(box.h));
}

/// Producers that do not limit their masks send such boxes.
bool isAroundFrame(const NumberBox& box, render_base::FrameSize frame) {
  return box.x <= 0 && box.y <= 0 && box.x + box.w >= frame.width && box.y + box.h >= frame.height;
}

/// Whether the box begins behind the frame or ends more than a tenth of the frame behind it.
bool isBeyond(const NumberBox& box, render_base::FrameSize frame) {
  if (isAroundFrame(box, frame)) return false;
  return box.x >= frame.width || box.y >= frame.height || box.x + box.w > 1.1 * frame.width ||
         box.y + box.h > 1.1 * frame.height;
}

bool isNear(double ratio, double other, double tolerance) {
  return std::abs(ratio / other - 1.0) <= tolerance;
}

/// Whether a text of this form is run lengths as COCO compresses them: characters from '0' to 'o', and not
/// just letters, as a class's name would be.
bool looksCompressed(const std::string& text) {
  const auto inRange = [](char byte) { return byte >= '0' && byte <= 'o'; };
  const auto isLower = [](char byte) { return byte >= 'a' && byte <= 'z'; };
  return text.size() >= 8 && std::all_of(text.begin(), text.end(), inRange) &&
         !std::all_of(text.begin() + 1, text.end(), isLower);
}

/// What a "class_info" that is no "SEG1" text looks like; empty where it looks like nothing known.
std::string looksLike(const SwJsonValue& value) {
  if (value.isArray()) return "a polygon or a list of run lengths";
  if (value.isObject()) return "run lengths as COCO writes them";
  if (!value.isString() || value.text().empty() || value.text().compare(0, 5, "SEG1|") == 0) return {};
  const char first = value.text().front();
  if (first == '[' || first == '{') return "a polygon or run lengths as text";
  const bool isNumbers = value.text().find_first_not_of("0123456789.,; -") == std::string::npos;
  if (isNumbers) return "a polygon or run lengths as text";
  return looksCompressed(value.text()) ? "compressed run lengths" : "";
}

std::string placeOf(const std::string& file, uint64_t line, const std::optional<std::size_t>& index) {
  std::string place = file + ":" + std::to_string(line) + ": ";
  if (index) place += "detections[" + std::to_string(*index) + "]: ";
  return place;
}

}  // namespace

void DetectionHints::add(Note& note, const Place& place, const std::string& what) {
  if (++note.count > 1) return;
  note.lineNumber = place.lineNumber;
  note.index = place.index;
  note.what = what;
}

void DetectionHints::look(const DetectionLine& line) {
  // A name says which picture is meant, whatever its number is.
  if (!firstFrame_ && !line.payload.object->contains("image")) {
    firstFrame_ = line.frame;
    firstLine_ = line.lineNumber;
  }
  const SwJsonObject& object = *line.payload.object;
  for (const OtherName& name : kLineNames) {
    if (!object.contains(name.other) || object.contains(name.name)) continue;
    add(otherName_, {line.lineNumber, std::nullopt},
        std::string("\"") + name.other + "\" is not read; the name is \"" + name.name + "\"");
  }
  const SwJsonArray* const elements = object["detections"].array();
  for (std::size_t i = 0; elements && i < elements->size(); ++i) {
    const SwJsonObject* const detection = (*elements)[i].object();
    if (!detection) continue;
    const Place place{line.lineNumber, i};
    lookAtNames(*detection, place);
    lookAtBox(*detection, place);
    lookAtMask(*detection, place);
  }
}

void DetectionHints::lookAtNames(const SwJsonObject& object, const Place& place) {
  for (const OtherName& name : kDetectionNames) {
    if (object.contains(name.name) || !object.contains(name.other)) continue;
    add(otherName_, place,
        std::string("\"") + name.other + "\" is not read; the name is \"" + name.name + "\"");
    return;
  }
}

void DetectionHints::lookAtBox(const SwJsonObject& object, const Place& place) {
  const auto isText = [&object](const char* key) { return object[key].isString(); };
  const auto side = std::find_if(kSides.begin(), kSides.end(), isText);
  const char* const key = side != kSides.end() ? *side : isText("class_id") ? "class_id" : nullptr;
  if (key) add(text_, place, std::string("\"") + key + "\" is a text, which counts as 0; write a number");
  const std::optional<NumberBox> box = boxOf(object);
  if (!box) return;
  ++boxes_;
  if (isInFractions(*box)) add(fractions_, place, {});
  if (isBeyond(*box, frame_)) add(beyond_, place, {});
}

void DetectionHints::lookAtMask(const SwJsonObject& object, const Place& place) {
  const SwJsonValue& mask = object["class_info"];
  const std::string other = looksLike(mask);
  if (!other.empty()) {
    add(otherMask_, place, "\"class_info\" looks like " + other + ", but has to be a \"SEG1\" text");
    return;
  }
  int width = 0;
  int height = 0;
  const std::optional<NumberBox> box = boxOf(object);
  if (!mask.isString() || !box || box->w < 1 || box->h < 1 || isAroundFrame(*box, frame_)) return;
  if (std::sscanf(mask.text().c_str(), "SEG1|%9d|%9d|", &width, &height) != 2 || width < 1 || height < 1)
    return;
  const double ofMask = static_cast<double>(width) / height;
  const double ofFrame = static_cast<double>(frame_.width) / frame_.height;
  if (isNear(ofMask, box->w / box->h, 0.02) && !isNear(ofMask, ofFrame, 0.1)) add(boxMask_, place, {});
}

std::vector<std::string> DetectionHints::warnings(const std::string& file) const {
  std::vector<std::string> list;
  const auto say = [&](const Note& note, const std::string& what) {
    list.push_back(placeOf(file, note.lineNumber, note.index) + what +
                   (note.count > 1 ? " (" + std::to_string(note.count) + " times)" : ""));
  };
  const std::string size = std::to_string(frame_.width) + "x" + std::to_string(frame_.height);
  if (firstFrame_ == 1U) {
    list.push_back(placeOf(file, firstLine_, std::nullopt) +
                   "the first frame number is 1 and none is 0; frames count from 0");
  }
  for (const Note* const note : {&otherName_, &text_, &otherMask_}) {
    if (note->count > 0) say(*note, note->what);
  }
  if (boxes_ > 0 && fractions_.count == boxes_) {
    say(fractions_,
        "all boxes are within 0 to 1; they have to be in pixels of the frame, not in fractions of it");
  } else if (beyond_.count > boxes_ / 2) {
    say(beyond_, "more than half of the boxes lie outside the " + size +
                     " frame or end far outside; were they made for frames of another size?");
  }
  // Single masks may have their box's proportions by chance.
  if (boxMask_.count > boxes_ / 2) {
    say(boxMask_, "the mask has the proportions of its box and not of the " + size +
                      " frame; a mask spans the whole frame, the box only limits it");
  }
  return list;
}

}  // namespace segmask
