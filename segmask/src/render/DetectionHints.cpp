#include "src/render/DetectionHints.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <string_view>

#include "core/SwJsonArray.h"
#include "host/nearest_name.h"

namespace segmask {
namespace {

constexpr char kWhereMasksGo[] =
    "run lengths and polygons go into \"mask\", as {\"size\", \"counts\"} or {\"polygon\"}, and a \"SEG1\" "
    "text into "
    "\"class_info\"";

constexpr MemberNames kDetections{"detections",
                                  {"dets", "detection", "objects", "predictions", "boxes", "instances"}};
constexpr MemberNames kMembers[] = {{"x", {"bbox", "box", "left", "x1", "xmin"}},
                                    {"y", {"top", "y1", "ymin"}},
                                    {"w", {"width"}},
                                    {"h", {"height"}},
                                    {"class_id", {"class", "label", "category_id", "category"}},
                                    {"score", {"confidence", "conf"}},
                                    {"class_info", {"segmentation", "seg", "rle"}}};

/// What is wrong with an object that lacks `member` and has `other`.
std::string notRead(const std::string& other, const std::string& member) {
  const std::string name = "the name is \"" + member + "\"";
  return "\"" + other + "\" is not read; " + (member == "class_info" ? kWhereMasksGo : name);
}

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

/// Whether the box may be in fractions of the frame: networks' boxes reach a little beyond it.
bool isInFractions(const NumberBox& box) {
  const auto isAboutWithinOne = [](double value) { return value >= -0.1 && value <= 1.1; };
  return isAboutWithinOne(box.x) && isAboutWithinOne(box.y) && isAboutWithinOne(box.w) &&
         isAboutWithinOne(box.h);
}

bool hasFraction(const NumberBox& box) {
  const std::array<double, 4> sides{box.x, box.y, box.w, box.h};
  return std::any_of(sides.begin(), sides.end(), [](double side) { return side != std::floor(side); });
}

/// Producers that do not limit their masks send such boxes.
bool isAroundFrame(const NumberBox& box, render_base::FrameSize frame) {
  return box.x <= 0 && box.y <= 0 && box.x + box.w >= frame.width && box.y + box.h >= frame.height;
}

/// Whether the box lies outside the frame or ends more than a tenth of the frame behind it. Empty boxes are
/// nowhere.
bool isBeyond(const NumberBox& box, render_base::FrameSize frame) {
  if (isAroundFrame(box, frame) || box.w <= 0 || box.h <= 0) return false;
  return box.x >= frame.width || box.y >= frame.height || box.x + box.w <= 0 || box.y + box.h <= 0 ||
         box.x + box.w > 1.1 * frame.width || box.y + box.h > 1.1 * frame.height;
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

struct MaskSize {
  int width, height;
};

/// Whether the mask has the proportions of its box and not those of the frame. Those of a mask of few pixels
/// say nothing.
bool isCropped(MaskSize mask, const NumberBox& box, render_base::FrameSize frame) {
  constexpr int kFewest = 8;
  if (mask.width < kFewest || mask.height < kFewest || box.w < 1 || box.h < 1) return false;
  const double ofMask = static_cast<double>(mask.width) / mask.height;
  const double ofFrame = static_cast<double>(frame.width) / frame.height;
  return isNear(ofMask, box.w / box.h, 0.02) && !isNear(ofMask, ofFrame, 0.1);
}

std::string sizeText(render_base::FrameSize frame) {
  return std::to_string(frame.width) + "x" + std::to_string(frame.height);
}

}  // namespace

void DetectionHints::add(Note& note, const Place& place) const {
  if (++note.count > 1 && note.first.lineNumber <= place.lineNumber) return;
  note.first = place;
  note.frame = frame_;
}

void DetectionHints::addMember(const std::string& what, const Place& place) {
  constexpr std::size_t kMostKinds = 32;  // the names are the file's
  const auto known = members_.find(what);
  if (known != members_.end()) {
    add(known->second, place);
  } else if (members_.size() < kMostKinds) {
    add(members_[what], place);
  }
}

void DetectionHints::look(const DetectionLine& line) {
  // A name says which picture is meant, whatever its number is.
  if (!firstFrame_ && !line.payload.object->contains("image")) {
    firstFrame_ = line.frame;
    firstLine_ = line.lineNumber;
  }
  const SwJsonObject& object = *line.payload.object;
  if (!object.contains(kDetections.name)) lookForDetections(object, {line.lineNumber, std::nullopt});
  const SwJsonArray* const elements = object[kDetections.name].array();
  for (std::size_t i = 0; elements && i < elements->size(); ++i) {
    const SwJsonObject* const detection = (*elements)[i].object();
    if (!detection) continue;
    const Place place{line.lineNumber, i};
    lookAtMembers(*detection, place);
    lookAtBox(*detection, place);
    lookAtMask(*detection, place);
  }
}

/// A line without "detections" says that nothing was found, unless it has a list of objects by another name.
void DetectionHints::lookForDetections(const SwJsonObject& object, const Place& place) {
  if (lookForMember(object, kDetections, place)) return;
  for (const auto& [key, value] : object) {
    const bool isList = value.array() && !value.array()->isEmpty() && (*value.array())[0].isObject();
    if (isList) return addMember(notRead(key, kDetections.name), place);
  }
}

void DetectionHints::lookAtMembers(const SwJsonObject& object, const Place& place) {
  for (const MemberNames& member : kMembers) {
    const SwJsonValue* const value = object.find(member.name);
    if (!value) {
      lookForMember(object, member, place);
    } else if (value->isString() && member.name != std::string_view("class_info")) {
      addMember("\"" + std::string(member.name) + "\" is a text, which counts as 0; write a number", place);
    }
  }
}

bool DetectionHints::lookForMember(const SwJsonObject& object, const MemberNames& member,
                                   const Place& place) {
  std::string other;
  for (const char* const name : member.others) {
    if (other.empty() && name && object.contains(name)) other = name;
  }
  if (other.empty()) {
    std::string& misspelt = misspelt_[member.name];
    if (misspelt.empty() || !object.contains(misspelt)) misspelt = findMisspelt(object, member.name);
    other = misspelt;
  }
  if (other.empty()) return false;
  addMember(notRead(other, member.name), place);
  return true;
}

std::string DetectionHints::findMisspelt(const SwJsonObject& object, const std::string& name) {
  constexpr std::size_t kShortest = 5;      // a name that a misspelling leaves recognisable
  constexpr uint64_t kMostSearches = 1000;  // members may be left out on purpose, and comparing takes time
  // What is called nearly like "class_info" is often of the class, and no mask.
  if (name.size() < kShortest || name == "class_info" || searches_ == kMostSearches) return {};
  ++searches_;
  const auto isRead = [](const std::string& key) {
    return std::any_of(std::begin(kMembers), std::end(kMembers),
                       [&key](const MemberNames& member) { return key == member.name; });
  };
  for (const auto& [key, value] : object) {
    if (!isRead(key) && isMisspelling(key, name)) return key;
  }
  return {};
}

void DetectionHints::lookAtBox(const SwJsonObject& object, const Place& place) {
  const std::optional<NumberBox> box = boxOf(object);
  if (!box) return;
  ++boxes_;
  if (hasFraction(*box)) ++fractionalBoxes_;
  if (isInFractions(*box)) add(fractions_, place);
  if (isBeyond(*box, frame_)) add(beyond_, place);
}

void DetectionHints::lookAtMask(const SwJsonObject& object, const Place& place) {
  const SwJsonValue& mask = object["class_info"];
  const std::string other = looksLike(mask);
  if (!other.empty()) {
    add(members_["\"class_info\" looks like " + other + "; " + kWhereMasksGo], place);
    return;
  }
  int width = 0;
  int height = 0;
  const std::optional<NumberBox> box = boxOf(object);
  if (!mask.isString() || !box || isAroundFrame(*box, frame_)) return;
  constexpr std::size_t kHeader = 32;  // sscanf looks for the end of the whole text, which may be long
  if (std::sscanf(mask.text().substr(0, kHeader).c_str(), "SEG1|%9d|%9d|", &width, &height) != 2) return;
  if (!isCropped({width, height}, *box, frame_)) return;
  add(boxMask_, place);
  if (boxMaskWidth_.value_or(width) != width) boxMasksVary_ = true;
  boxMaskWidth_ = width;
  if (!isNear(width, box->w, 0.2)) boxMasksAreScaled_ = true;
}

std::vector<std::string> DetectionHints::warnings(const std::string& file, bool fromTheBeginning) const {
  constexpr uint64_t kSeveral = 5;  // single boxes may be outside by mistake
  std::vector<std::string> list;
  const auto place = [&file](const Place& at) {
    return file + ":" + std::to_string(at.lineNumber) + ": " +
           (at.index ? "detections[" + std::to_string(*at.index) + "]: " : std::string());
  };
  const auto say = [&](const Note& note, const std::string& what) {
    const std::string times = note.count > 1 ? " (" + std::to_string(note.count) + " times)" : std::string();
    list.push_back(place(note.first) + what + times);
  };
  if (fromTheBeginning && firstFrame_ == 1U) {
    list.push_back(place({firstLine_, std::nullopt}) +
                   "the first frame number is 1 and none is 0; frames count from 0");
  }
  for (const auto& [what, note] : members_) say(note, what);
  if (fractionalBoxes_ > 0 && fractions_.count == boxes_) {
    say(fractions_,
        "all boxes are within 0 to 1; they have to be in pixels of the frame, not in fractions of it");
  } else if (beyond_.count > boxes_ / 2 || (beyond_.count >= kSeveral && beyond_.count > boxes_ / 10)) {
    list.push_back(place(beyond_.first) + std::to_string(beyond_.count) + " of " + std::to_string(boxes_) +
                   " boxes lie outside the " + sizeText(beyond_.frame) +
                   " frame or end far outside; were they made for frames of another size?");
  }
  // Single masks may have their box's proportions by chance, and a network's masks of one size span its
  // frame.
  if (boxMask_.count > boxes_ / 2 && (boxMasksVary_ || !boxMasksAreScaled_)) {
    say(boxMask_, "the mask has the proportions of its box and not of the " + sizeText(boxMask_.frame) +
                      " frame; a mask spans the whole frame, the box only limits it");
  }
  return list;
}

}  // namespace segmask
