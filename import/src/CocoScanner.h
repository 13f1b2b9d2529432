#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <set>
#include <string>

#include "src/CocoFile.h"
#include "src/CocoRecord.h"
#include "src/JsonFileStream.h"

namespace segmask {

/// What a file in COCO's format holds, as it stands there.
struct CocoContents {
  bool isResultList = false;
  bool hasImages = false;       ///< a list of this name
  bool hasAnnotations = false;  ///< a list of this name, or results
  std::deque<CocoImage> images;
  std::deque<CocoCategory> categories;
  std::deque<AnnotationPlace> annotations;
  std::set<int64_t> usedCategories;
};

/// Finds images, categories and annotations in the events of RapidJSON's reader. Throws UserError, with file,
/// list and index, for an element that lacks what it needs.
class CocoScanner : public rapidjson::BaseReaderHandler<rapidjson::UTF8<>, CocoScanner> {
 public:
  /// `stream` is what the reader reads, `name` what errors call it. All must outlive this object.
  CocoScanner(JsonFileStream& stream, const std::string& name, CocoContents& contents)
      : stream_(stream), name_(name), contents_(contents) {}

  bool Null();
  bool Bool(bool value);
  bool RawNumber(const char* text, rapidjson::SizeType size, bool copy);
  bool String(const char* text, rapidjson::SizeType size, bool copy);
  bool Key(const char* text, rapidjson::SizeType size, bool copy);
  bool StartObject();
  bool EndObject(rapidjson::SizeType members);
  bool StartArray();
  bool EndArray(rapidjson::SizeType elements);

 private:
  enum class List { None, Images, Categories, Annotations };

  /// Hands an event on where it is within an element, and adds the element's place to what that throws.
  template <class Event>
  bool pass(const Event& event);
  void beginContainer();
  void beginList();
  void endElement();
  void addImage(const CocoRecord& record);
  void addCategory(const CocoRecord& record);
  void addAnnotation(const CocoRecord& record);

  bool isBetweenElements() const { return list_ != List::None && depth_ == listDepth_; }
  bool isWithinElement() const { return list_ != List::None && depth_ > listDepth_; }

  /// The file, and the list and index of the element: "FILE: annotations[7]".
  std::string place() const;

  JsonFileStream& stream_;
  const std::string& name_;
  CocoContents& contents_;
  CocoRecordHandler element_{false};
  std::string key_;  ///< of the outermost object
  List list_ = List::None;
  int depth_ = 0;
  int listDepth_ = 0;  ///< what depth_ is between the list's elements
  std::size_t index_ = 0;
  std::size_t elementAt_ = 0;  ///< where in the file
};

}  // namespace segmask
