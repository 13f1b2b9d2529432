#include "src/CocoFile.h"

#include <rapidjson/encodedstream.h>
#include <rapidjson/error/en.h>
#include <rapidjson/memorystream.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <string_view>
#include <utility>
#include <vector>

#include "host/parse_hint.h"
#include "io/Interrupt.h"
#include "io/UserError.h"
#include "io/reading.h"
#include "src/CocoScanner.h"

namespace segmask {
namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

/// Refuses what cannot become JSON, before a stream, which may have no end, is copied.
void checkBeginning(const std::string& name, std::string_view beginning) {
  const std::string encoding = encodingHint(beginning);
  if (!encoding.empty()) throw UserError(name + ": not JSON" + encoding);
  if (beginning.substr(0, kByteOrderMark.size()) == kByteOrderMark) {
    beginning.remove_prefix(kByteOrderMark.size());
  }
  const std::size_t first = beginning.find_first_not_of(" \t\r\n");
  if (first == std::string_view::npos || beginning[first] == '{' || beginning[first] == '[') return;
  throw UserError(name + ": is no COCO file: it begins neither with { nor with [");
}

/// What the file has where the reader stopped.
std::string hintAt(int file, std::size_t offset) {
  std::array<char, 8> bytes{};
  const ssize_t size = pread(file, bytes.data(), bytes.size(), static_cast<off_t>(offset));
  return size > 0 ? tokenHint({bytes.data(), static_cast<std::size_t>(size)}) : std::string();
}

void scan(int file, const std::string& name, CocoContents& contents) {
  JsonFileStream stream(file, name);
  stream.passOver(kByteOrderMark);
  CocoScanner scanner(stream, name, contents);
  rapidjson::Reader reader;
  const rapidjson::ParseResult result = reader.Parse<kCocoParseFlags>(stream, scanner);
  // What the request to stop has cut short is no error.
  if (Interrupt::requested()) throw UserError(name + ": interrupted");
  if (result && stream.isAtEnd()) return;
  const std::string place = " (byte " + std::to_string(stream.Tell()) + ")";
  if (result) throw UserError(name + ": not JSON: there is a byte of 0 after it" + place);
  if (stream.isAtEnd() && stream.Tell() > 0)
    throw UserError(name + ": not JSON: the text is cut off" + place);
  throw UserError(name + ": not JSON: " + rapidjson::GetParseError_En(result.Code()) + place +
                  hintAt(file, stream.Tell()));
}

void checkKind(const std::string& name, const CocoContents& contents) {
  if (contents.isResultList || (contents.hasImages && contents.hasAnnotations)) return;
  throw UserError(name + ": is no COCO file: it has no list \"" +
                  (contents.hasImages ? "annotations" : "images") + "\" and is no list of results");
}

bool comesBefore(const AnnotationPlace& a, const AnnotationPlace& b) {
  return a.imageId != b.imageId ? a.imageId < b.imageId : a.offset < b.offset;
}

/// The numbers of images or categories, sorted.
template <class Element>
std::vector<int64_t> sortedIds(const std::deque<Element>& elements) {
  std::vector<int64_t> ids;
  ids.reserve(elements.size());
  for (const Element& element : elements) ids.push_back(element.id);
  std::sort(ids.begin(), ids.end());
  return ids;
}

template <class Element>
std::vector<int64_t> uniqueIds(const std::deque<Element>& elements, const std::string& list) {
  std::vector<int64_t> ids = sortedIds(elements);
  const auto twice = std::adjacent_find(ids.begin(), ids.end());
  if (twice == ids.end()) return ids;
  throw UserError(list + ": several have the \"id\" " + std::to_string(*twice));
}

bool contains(const std::vector<int64_t>& ids, int64_t id) {
  return std::binary_search(ids.begin(), ids.end(), id);
}

}  // namespace

CocoFile::CocoFile(const std::string& path)
    : name_(inputName(path)),
      file_(openSeekable(path, [this](std::string_view beginning) { checkBeginning(name_, beginning); })) {
  CocoContents contents;
  scan(file_.get(), name_, contents);
  checkKind(name_, contents);
  isResultList_ = contents.isResultList;
  images_ = std::move(contents.images);
  categories_ = std::move(contents.categories);
  annotations_ = std::move(contents.annotations);
  usedCategories_ = std::move(contents.usedCategories);
  std::sort(annotations_.begin(), annotations_.end(), comesBefore);
  if (isResultList_) {
    addImagesOfResults();
  } else {
    checkReferences();
  }
}

void CocoFile::addImagesOfResults() {
  for (const AnnotationPlace& place : annotations_) {
    if (!images_.empty() && images_.back().id == place.imageId) continue;
    images_.push_back({place.imageId, 0, 0, {}});
  }
}

void CocoFile::checkReferences() const {
  const std::vector<int64_t> images = uniqueIds(images_, name_ + ": images");
  for (const AnnotationPlace& place : annotations_) {
    if (contains(images, place.imageId)) continue;
    throw UserError(placeText(place) + ": \"image_id\" is " + std::to_string(place.imageId) +
                    ", and no image has that \"id\"");
  }
  const std::vector<int64_t> categories = uniqueIds(categories_, name_ + ": categories");
  for (const int64_t category : usedCategories_) {
    if (contains(categories, category)) continue;
    throw UserError(name_ + ": annotations have the \"category_id\" " + std::to_string(category) +
                    ", and no category has that \"id\"");
  }
}

CocoFile::Range CocoFile::annotationsOf(int64_t imageId) const {
  const auto isBefore = [](const AnnotationPlace& place, int64_t id) { return place.imageId < id; };
  const auto isAfter = [](int64_t id, const AnnotationPlace& place) { return id < place.imageId; };
  return {std::lower_bound(annotations_.begin(), annotations_.end(), imageId, isBefore),
          std::upper_bound(annotations_.begin(), annotations_.end(), imageId, isAfter)};
}

CocoRecord CocoFile::read(const AnnotationPlace& place) const {
  std::string bytes(place.length, '\0');
  const ssize_t size = pread(file_.get(), bytes.data(), bytes.size(), static_cast<off_t>(place.offset));
  if (size < 0) throw systemError(name_, errno);
  rapidjson::MemoryStream memory(bytes.data(), bytes.size());
  rapidjson::EncodedInputStream<rapidjson::UTF8<>, rapidjson::MemoryStream> stream(memory);
  CocoRecordHandler handler(true);
  rapidjson::Reader reader;
  if (static_cast<std::size_t>(size) != bytes.size() || !reader.Parse<kCocoParseFlags>(stream, handler)) {
    throw UserError(name_ + ": has changed while it was read");
  }
  return handler.record();
}

std::string CocoFile::placeText(const AnnotationPlace& place) const {
  const auto index = std::count_if(annotations_.begin(), annotations_.end(),
                                   [&](const AnnotationPlace& other) { return other.offset < place.offset; });
  return name_ + (isResultList_ ? ": results[" : ": annotations[") + std::to_string(index) + "]";
}

}  // namespace segmask
