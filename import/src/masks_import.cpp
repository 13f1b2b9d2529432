#include <algorithm>
#include <array>
#include <utility>

#include "core/SwJsonValue.h"
#include "import/importers.h"
#include "io/Interrupt.h"
#include "io/UserError.h"
#include "io/reading.h"
#include "mask/run_lengths.h"
#include "src/NamePattern.h"
#include "src/mask_folder.h"
#include "video/mask_picture.h"

namespace segmask {
namespace {

/// Far more than a PNG file of as many pixels as are read takes.
constexpr std::size_t kMostFileBytes = std::size_t{256} << 20;

MaskPicture readPicture(const std::string& path) {
  const std::string bytes = readWhole(path, kMostFileBytes);
  try {
    return decodeMaskPicture(bytes);
  } catch (const UserError& error) {
    throw UserError(path + ": " + error.what());
  }
}

/// Takes detections of mask files, frame by frame.
class MaskImporter {
 public:
  MaskImporter(const NamePattern& pattern, ClassBy classBy, DetectionLines& lines, ClassTable& classes)
      : pattern_(pattern), classBy_(classBy), lines_(lines), classes_(classes) {}

  /// `begin` to `end` are the frame's files.
  void importFrame(uint64_t frame, const std::string& picture, const MaskFile* begin, const MaskFile* end) {
    lines_.beginFrame(frame, picture);
    taken_ = 0;
    first_ = {};
    for (const MaskFile* file = begin; file != end; ++file) importFile(*file);
    lines_.endFrame();
  }

  const PassedOver& passedOver() const { return passedOver_; }

 private:
  void importFile(const MaskFile& file) {
    const MaskPicture picture = readPicture(file.path);
    if (first_.path.empty()) first_ = {file.path, picture.width, picture.height};
    if (picture.width != first_.width || picture.height != first_.height) {
      throw UserError(file.path + ": is " + sizeText(picture.width, picture.height) + ", and " + first_.path +
                      " of the same frame " + sizeText(first_.width, first_.height));
    }
    const uint64_t before = taken_;
    if (pattern_.hasInstance()) {
      addMask(file, file.instance, picture.values, picture);
    } else {
      addValues(file, picture);
    }
    if (taken_ == before && passedOver_.count++ == 0) passedOver_.first = file.path;
  }

  /// One mask for each value but 0.
  void addValues(const MaskFile& file, const MaskPicture& picture) {
    if (!picture.isIndexed) {
      throw UserError(file.path +
                      ": is in colours; a file of several instances has a palette or grey values");
    }
    std::array<bool, 256> isThere{};
    for (const uint8_t value : picture.values) isThere[value] = true;
    std::vector<uint8_t> pixels(picture.values.size());
    for (std::size_t value = 1; value < isThere.size() && !Interrupt::requested(); ++value) {
      if (!isThere[value]) continue;
      std::transform(picture.values.begin(), picture.values.end(), pixels.begin(),
                     [value](uint8_t pixel) { return static_cast<uint8_t>(pixel == value ? 1 : 0); });
      addMask(file, value, pixels, picture);
    }
  }

  void addMask(const MaskFile& file, uint64_t instance, const std::vector<uint8_t>& pixels,
               const MaskPicture& picture) {
    const seg_mask::MaskBits bits =
        seg_mask::packMask(pixels.data(), picture.width, picture.height, picture.width);
    ImportedDetection detection;
    detection.extent = seg_mask::extentOf(bits);
    if (detection.extent.pixels == 0) return;
    detection.id = std::to_string(instance);
    detection.classId = classOf(file, instance);
    detection.mask = R"({"size": [)" + std::to_string(bits.height) + ", " + std::to_string(bits.width) +
                     R"(], "counts": ")" +
                     SwJsonValue::escapeString(seg_mask::encodeCompressedRunLengths(bits)) + "\"}";
    lines_.add(detection);
    ++taken_;
  }

  int classOf(const MaskFile& file, uint64_t instance) {
    if (classBy_ == ClassBy::Category) return classes_.number(file.category, file.category);
    const std::string number = std::to_string(classBy_ == ClassBy::Track ? instance : taken_);
    const std::string kind = classBy_ == ClassBy::Instance ? "instance"
                             : file.category.empty()       ? "track"
                                                           : file.category;
    return classes_.number(kind + " " + number, kind + " " + number);
  }

  static std::string sizeText(int width, int height) {
    return std::to_string(width) + "x" + std::to_string(height);
  }

  struct FirstFile {
    std::string path;
    int width = 0;
    int height = 0;
  };

  const NamePattern& pattern_;
  ClassBy classBy_;
  DetectionLines& lines_;
  ClassTable& classes_;
  FirstFile first_;     ///< of the frame
  uint64_t taken_ = 0;  ///< detections of this frame
  PassedOver passedOver_;
};

}  // namespace

PassedOver importMasks(const ImportSource& source, const std::string& pattern, DetectionLines& lines,
                       ClassTable& classes) {
  const NamePattern names(pattern);
  if (source.classBy == ClassBy::Category && !names.hasCategory()) {
    throw UserError("--class-by category: the pattern '" + pattern + "' has no {category}");
  }
  const MaskFolder folder = readMaskFolder(source.path, names, source.images);
  MaskImporter importer(names, source.classBy, lines, classes);
  const MaskFile* next = folder.files.data();
  const MaskFile* const end = next + folder.files.size();
  // Every picture has a line; where they are not known, every frame that has files.
  for (uint64_t frame = 0; !Interrupt::requested(); ++frame) {
    if (folder.pictures.empty() && next != end) frame = next->frame;
    if (next == end && frame >= folder.pictures.size()) break;
    const MaskFile* const rest =
        std::find_if(next, end, [frame](const MaskFile& file) { return file.frame != frame; });
    importer.importFrame(frame, folder.pictures.empty() ? std::string() : folder.pictures[frame], next, rest);
    next = rest;
  }
  return importer.passedOver();
}

}  // namespace segmask
