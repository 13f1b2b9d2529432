#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <set>
#include <string>

#include "io/FileDescriptor.h"
#include "src/CocoRecord.h"

namespace segmask {

struct CocoImage {
  int64_t id;
  int width;  ///< pixels; 0 where the file does not say it
  int height;
  std::string name;  ///< its file's name, without folders; empty where the file does not say it
};

struct CocoCategory {
  int64_t id;
  std::string name;
};

/// Where an annotation stands in the file. As small as it can be, because all of them are in memory.
struct AnnotationPlace {
  static constexpr std::size_t kFarthest = (std::size_t{1} << 42) - 1;
  static constexpr std::size_t kMostBytes = (std::size_t{1} << 22) - 1;

  int64_t imageId;
  uint64_t offset : 42;
  uint64_t length : 22;
};
static_assert(sizeof(AnnotationPlace) == 16, "an annotation's part of the index");

/// A file in COCO's format, with an index of its annotations. A list of results has no categories, and its
/// images are those that the results name, in the order of their numbers.
///
/// Every error is a UserError with the file's name and, where it is of an element, its list and index.
class CocoFile {
 public:
  /// Reads the whole file, "-" being standard input, and checks that what it refers to is there.
  explicit CocoFile(const std::string& path);

  /// What errors call it.
  const std::string& name() const { return name_; }
  bool isResultList() const { return isResultList_; }
  const std::deque<CocoImage>& images() const { return images_; }
  const std::deque<CocoCategory>& categories() const { return categories_; }
  const std::set<int64_t>& usedCategories() const { return usedCategories_; }

  using Places = std::deque<AnnotationPlace>;
  struct Range {
    Places::const_iterator begin;
    Places::const_iterator end;
  };

  /// The annotations of an image, in the file's order.
  Range annotationsOf(int64_t imageId) const;

  /// Reads an annotation, with its segmentation.
  CocoRecord read(const AnnotationPlace& place) const;

  /// The file, and the annotation's list and index: "FILE: annotations[7]".
  std::string placeText(const AnnotationPlace& place) const;

 private:
  void checkReferences() const;
  void addImagesOfResults();

  std::string name_;
  FileDescriptor file_;
  bool isResultList_ = false;
  std::deque<CocoImage> images_;
  std::deque<CocoCategory> categories_;
  std::set<int64_t> usedCategories_;
  Places annotations_;  ///< by image, then by offset
};

}  // namespace segmask
