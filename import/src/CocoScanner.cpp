#include "src/CocoScanner.h"

#include <filesystem>
#include <limits>

#include "io/UserError.h"

namespace segmask {
namespace {

/// Deeper than anything in the format.
constexpr int kMostDepth = 64;

template <class Value>
const Value& required(const std::optional<Value>& value, const char* key) {
  if (!value) throw UserError("has no \"" + std::string(key) + "\"");
  return *value;
}

int requiredSide(const std::optional<int64_t>& value, const char* key) {
  const int64_t side = required(value, key);
  if (side >= 1 && side <= std::numeric_limits<int>::max()) return static_cast<int>(side);
  throw UserError("\"" + std::string(key) + "\" is " + std::to_string(side));
}

}  // namespace

std::string CocoScanner::place() const {
  return name_ + ": " + (contents_.isResultList ? "results" : key_) + "[" + std::to_string(index_) + "]";
}

template <class Event>
bool CocoScanner::pass(const Event& event) {
  stream_.endValue();
  if (isBetweenElements()) throw UserError(place() + ": is no object");
  if (!isWithinElement()) return true;
  try {
    return event(element_);
  } catch (const UserError& error) {
    throw UserError(place() + ": " + error.what());
  }
}

bool CocoScanner::Null() {
  return pass([](CocoRecordHandler& element) { return element.Null(); });
}

bool CocoScanner::Bool(bool value) {
  return pass([=](CocoRecordHandler& element) { return element.Bool(value); });
}

bool CocoScanner::RawNumber(const char* text, rapidjson::SizeType size, bool copy) {
  return pass([=](CocoRecordHandler& element) { return element.RawNumber(text, size, copy); });
}

bool CocoScanner::String(const char* text, rapidjson::SizeType size, bool copy) {
  return pass([=](CocoRecordHandler& element) { return element.String(text, size, copy); });
}

bool CocoScanner::Key(const char* text, rapidjson::SizeType size, bool copy) {
  if (depth_ == 1) key_.assign(text, size);
  return pass([=](CocoRecordHandler& element) { return element.Key(text, size, copy); });
}

void CocoScanner::beginContainer() {
  if (++depth_ <= kMostDepth) return;
  throw UserError(name_ + ": nested too deeply (byte " + std::to_string(stream_.Tell()) + ")");
}

bool CocoScanner::StartObject() {
  stream_.endValue();
  if (isBetweenElements()) elementAt_ = stream_.Tell();
  beginContainer();
  return pass([](CocoRecordHandler& element) { return element.StartObject(); });
}

bool CocoScanner::EndObject(rapidjson::SizeType members) {
  pass([=](CocoRecordHandler& element) { return element.EndObject(members); });
  --depth_;
  if (isBetweenElements()) endElement();
  return true;
}

bool CocoScanner::StartArray() {
  pass([](CocoRecordHandler& element) { return element.StartArray(); });
  beginContainer();
  if (list_ == List::None) beginList();
  return true;
}

bool CocoScanner::EndArray(rapidjson::SizeType elements) {
  if (isWithinElement()) pass([=](CocoRecordHandler& element) { return element.EndArray(elements); });
  --depth_;
  if (depth_ < listDepth_) list_ = List::None;
  return true;
}

void CocoScanner::beginList() {
  if (depth_ == 1) {
    contents_.isResultList = true;
    list_ = List::Annotations;
  } else if (depth_ == 2) {
    if (key_ == "images") list_ = List::Images;
    if (key_ == "categories") list_ = List::Categories;
    if (key_ == "annotations") list_ = List::Annotations;
  }
  listDepth_ = depth_;
  index_ = 0;
  contents_.hasImages = contents_.hasImages || list_ == List::Images;
  contents_.hasAnnotations = contents_.hasAnnotations || list_ == List::Annotations;
}

void CocoScanner::endElement() {
  try {
    if (list_ == List::Images) addImage(element_.record());
    if (list_ == List::Categories) addCategory(element_.record());
    if (list_ == List::Annotations) addAnnotation(element_.record());
  } catch (const UserError& error) {
    throw UserError(place() + ": " + error.what());
  }
  ++index_;
}

void CocoScanner::addImage(const CocoRecord& record) {
  const std::filesystem::path file(required(record.fileName, "file_name"));
  if (!file.has_filename()) throw UserError("\"file_name\" names no file");
  contents_.images.push_back({required(record.id, "id"), requiredSide(record.width, "width"),
                              requiredSide(record.height, "height"), file.filename().string()});
}

void CocoScanner::addCategory(const CocoRecord& record) {
  contents_.categories.push_back({required(record.id, "id"), required(record.name, "name")});
}

void CocoScanner::addAnnotation(const CocoRecord& record) {
  const std::size_t length = stream_.Tell() + 1 - elementAt_;  // the reader stands before the brace
  if (length > AnnotationPlace::kMostBytes) {
    throw UserError("is longer than " + std::to_string(AnnotationPlace::kMostBytes) + " bytes");
  }
  if (elementAt_ > AnnotationPlace::kFarthest) throw UserError("is too far behind in the file");
  const int64_t image = required(record.imageId, "image_id");
  contents_.annotations.push_back(
      {image, elementAt_ & AnnotationPlace::kFarthest, length & AnnotationPlace::kMostBytes});
  if (record.categoryId) contents_.usedCategories.insert(*record.categoryId);
}

}  // namespace segmask
