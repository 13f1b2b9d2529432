// The import of COCO's files. The input is a byte, which says what a class stands for, and the file. An
// import is refused with the file's name, or its lines are UTF-8 that the reader of detection lines takes. Of
// a file that the reference reads too, each line has to have the masks of its image, in the file's order, in
// boxes that fit them.

#include <stdlib.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <optional>
#include <utility>
#include <vector>

#include "core/SwJsonArray.h"
#include "fuzz/FuzzInput.h"
#include "fuzz/MemoryFile.h"
#include "fuzz/fuzz_target.h"
#include "fuzz/reference_compact_mask.h"
#include "fuzz/reference_json.h"
#include "host/DetectionLineReader.h"
#include "import/importers.h"
#include "io/UserError.h"
#include "io/utf8.h"

namespace {

namespace fs = std::filesystem;
using Json = reference::JsonValue;
using Kind = Json::Kind;

// A folder for the lines.
class Folder {
 public:
  Folder() {
    std::string pattern = (fs::temp_directory_path() / "fuzz_coco_XXXXXX").string();
    fuzz::check(mkdtemp(pattern.data()) != nullptr, "there is a folder for the lines");
    path_ = pattern;
  }
  ~Folder() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
  }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;

  std::string linesPath() const { return path_ + "/lines"; }

 private:
  std::string path_;
};

struct ModelImage {
  int width = 0;
  int height = 0;
  std::vector<reference::Pixels> masks;
};

std::optional<std::int64_t> wholeNumber(const Json& object, const char* key) {
  const Json* const value = object.member(key);
  return value != nullptr && value->kind == Kind::Int ? std::optional(value->integer) : std::nullopt;
}

bool isWithoutSegmentation(const Json& annotation) {
  const Json* const value = annotation.member("segmentation");
  return value == nullptr || value->kind == Kind::Null ||
         (value->kind == Kind::Array && value->values.empty());
}

// As a detection has it: polygons, or the two members that count of run lengths.
Json maskMember(const Json& segmentation) {
  Json mask;
  mask.kind = Kind::Object;
  if (segmentation.kind == Kind::Array) mask.put("polygon", segmentation);
  for (const char* key : {"size", "counts"}) {
    if (const Json* const value = segmentation.member(key)) mask.put(key, *value);
  }
  return mask;
}

// The images of a file that has been imported, in the order of their lines. Nothing where the model does not
// follow: lists that are there twice, names that are written with escapes, numbers that are not small.
class Model {
 public:
  explicit Model(const std::string& text) {
    const reference::ParsedJson parsed = reference::parseJson(text, 0, "");
    isGood_ = parsed.error.empty() && !parsed.tooDeep && text.find("\\u") == std::string::npos;
    for (const char* list : {"\"images\"", "\"annotations\""}) {
      isGood_ = isGood_ && text.find(list) == text.rfind(list);
    }
    if (isGood_) read(parsed.value);
  }

  bool isGood() const { return isGood_; }
  const std::vector<ModelImage>& images() const { return images_; }
  std::uint64_t passedOver() const { return passedOver_; }

 private:
  void read(const Json& file) {
    const bool isResultList = file.kind == Kind::Array;
    const Json& annotations = isResultList ? file : *file.member("annotations");
    if (isResultList) {
      for (const Json& result : file.values) numbers_[wholeNumber(result, "image_id").value_or(0)] = 0;
      for (auto& [id, number] : numbers_) number = add({});
    } else {
      for (const Json& image : file.member("images")->values) addImage(image);
    }
    for (const Json& annotation : annotations.values) {
      if (isGood_) addAnnotation(annotation);
    }
  }

  std::size_t add(ModelImage image) {
    images_.push_back(std::move(image));
    return images_.size() - 1;
  }

  void addImage(const Json& image) {
    const auto id = wholeNumber(image, "id");
    const auto width = wholeNumber(image, "width");
    const auto height = wholeNumber(image, "height");
    isGood_ = isGood_ && id && width && height;
    if (isGood_) numbers_[*id] = add({static_cast<int>(*width), static_cast<int>(*height), {}});
  }

  void addAnnotation(const Json& annotation) {
    const auto found = numbers_.find(wholeNumber(annotation, "image_id").value_or(0));
    fuzz::check(found != numbers_.end(), "an annotation has an image");
    if (isWithoutSegmentation(annotation)) {
      ++passedOver_;
      return;
    }
    ModelImage& image = images_[found->second];
    bool gaveUp = false;
    auto mask = reference::compactMask(maskMember(*annotation.member("segmentation")), image.width,
                                       image.height, gaveUp);
    isGood_ = !gaveUp;
    if (gaveUp) return;
    fuzz::check(mask.has_value(), "what is imported is a mask");
    image.width = mask->width;
    image.height = mask->height;
    image.masks.push_back(std::move(*mask));
  }

  bool isGood_ = false;
  std::map<std::int64_t, std::size_t> numbers_;  // of the images, by their "id"
  std::vector<ModelImage> images_;
  std::uint64_t passedOver_ = 0;
};

// The box around the pixels as the members of a detection; the whole mask where there are none.
std::map<std::string, std::int64_t> boxOf(const reference::Pixels& mask) {
  std::int64_t left = mask.width, top = mask.height, right = 0, bottom = 0;
  for (int y = 0; y < mask.height; ++y) {
    for (int x = 0; x < mask.width; ++x) {
      if (!mask.inside[static_cast<std::size_t>(y) * static_cast<std::size_t>(mask.width) +
                       static_cast<std::size_t>(x)])
        continue;
      left = std::min<std::int64_t>(left, x);
      top = std::min<std::int64_t>(top, y);
      right = std::max<std::int64_t>(right, x + 1);
      bottom = std::max<std::int64_t>(bottom, y + 1);
    }
  }
  if (right == 0) return {{"x", 0}, {"y", 0}, {"w", mask.width}, {"h", mask.height}};
  return {{"x", left}, {"y", top}, {"w", right - left}, {"h", bottom - top}};
}

void checkLine(const segmask::DetectionLine& line, const ModelImage& image) {
  fuzz::check(line.detections == image.masks.size(), "the number of an image's detections");
  const Json payload = *reference::modelOf(SwJsonValue(*line.payload.object));
  for (std::size_t i = 0; i < image.masks.size(); ++i) {
    const Json& detection = payload.member("detections")->values[i];
    fuzz::checkEqual(detection.member("class_info")->text, reference::maskText(image.masks[i]), "a mask");
    for (const auto& [key, expected] : boxOf(image.masks[i])) {
      fuzz::check(detection.member(key)->integer == expected, "a mask's box");
    }
  }
}

void checkLines(const std::string& path, const Model& model, std::uint64_t count) {
  segmask::DetectionLineReader reader(path);
  std::uint64_t number = 0;
  while (auto raw = reader.next()) {
    fuzz::check(raw->frame == number, "frames are counted from 0");
    if (model.isGood()) {
      const ModelImage& image = model.images()[number];
      checkLine(reader.expand(std::move(*raw), {image.width, image.height}), image);
    }
    ++number;
  }
  fuzz::check(number == count, "each frame has a line");
}

std::string readBytes(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzInput input(data, size);
  segmask::ImportSource source;
  source.classBy = static_cast<segmask::ClassBy>(input.below(3));
  const std::string text = input.rest();
  const MemoryFile file(text);
  source.path = file.path();

  const Folder folder;
  segmask::TextOutput output(folder.linesPath());
  segmask::DetectionLines lines(output, "coco");
  segmask::ClassTable classes;
  segmask::PassedOver passedOver;
  try {
    passedOver = segmask::importCoco(source, lines, classes);
  } catch (const segmask::UserError& error) {
    fuzz::checkEqual(std::string(error.what()).substr(0, source.path.size()), source.path,
                     "what an error begins with");
    return 0;
  }
  output.finish();
  output.commit();
  fuzz::check(segmask::isUtf8(readBytes(folder.linesPath())), "the lines are UTF-8");
  fuzz::check(segmask::isUtf8(segmask::legendText(classes, true)), "the legend is UTF-8");
  const Model model(text);
  checkLines(folder.linesPath(), model, lines.frames());
  if (!model.isGood()) return 0;
  fuzz::check(lines.frames() == model.images().size(), "each image is a frame");
  fuzz::check(passedOver.count == model.passedOver(), "what has no segmentation is passed over");
  return 0;
}
