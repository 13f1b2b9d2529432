#include <optional>
#include <utility>

#include "core/SwJsonArray.h"
#include "core/SwJsonDocument.h"
#include "core/SwJsonObject.h"
#include "host/CompactMask.h"
#include "import/importers.h"
#include "io/Interrupt.h"
#include "io/UserError.h"
#include "mask/run_lengths.h"
#include "src/CocoFile.h"
#include "src/coco_frames.h"

namespace segmask {
namespace {

using render_base::FrameSize;

SwJsonValue parsed(const std::string& json) {
  SwJsonDocument document;
  SwString error;
  if (!document.loadFromJson(json, error)) throw UserError("\"segmentation\": " + error.str());
  return document.takeRoot();
}

/// The segmentation as a detection's member "mask", which has the same forms.
SwJsonObject maskMember(SwJsonValue segmentation) {
  SwJsonObject mask;
  if (segmentation.isArray()) {
    mask.insert("polygon", std::move(segmentation));
    return mask;
  }
  SwJsonObject* const runs = segmentation.object();
  if (!runs) throw UserError("\"segmentation\" is neither a list of polygons nor run lengths");
  if (!runs->contains("counts")) throw UserError(R"("segmentation" has no "counts")");
  for (const char* key : {"size", "counts"}) {
    if (SwJsonValue* const value = runs->find(key)) mask.insert(key, std::move(*value));
  }
  return mask;
}

std::string sizeText(FrameSize size) {
  return std::to_string(size.width) + "x" + std::to_string(size.height);
}

/// Takes detections of one COCO file, image by image.
class CocoImporter {
 public:
  CocoImporter(const CocoFile& file, ClassBy classBy, DetectionLines& lines, ClassTable& classes)
      : file_(file), classBy_(classBy), lines_(lines), classes_(classes) {
    if (classBy_ == ClassBy::Category) nameCategories();
  }

  void importFrame(uint64_t number, const CocoFrame& frame) {
    lines_.beginFrame(number, frame.picture);
    if (frame.image) {
      size_ = {frame.image->width, frame.image->height};
      taken_ = 0;
      const CocoFile::Range range = file_.annotationsOf(frame.image->id);
      for (auto place = range.begin; place != range.end && !Interrupt::requested(); ++place) {
        importAnnotation(*place);
      }
    }
    lines_.endFrame();
  }

  const PassedOver& passedOver() const { return passedOver_; }

 private:
  /// Those that are used, in the file's order.
  void nameCategories() {
    for (const CocoCategory& category : file_.categories()) {
      if (file_.usedCategories().count(category.id) > 0) {
        classes_.number(std::to_string(category.id), category.name);
      }
    }
    if (!file_.isResultList()) return;
    for (const int64_t id : file_.usedCategories()) {
      classes_.number(std::to_string(id), "category " + std::to_string(id));
    }
  }

  void importAnnotation(const AnnotationPlace& place) {
    const CocoRecord record = file_.read(place);
    if (record.segmentation.empty() || record.segmentation == "[]") {
      if (passedOver_.count++ == 0) passedOver_.first = file_.placeText(place);
      return;
    }
    try {
      lines_.add(detectionOf(record));
    } catch (const UserError& error) {
      throw UserError(file_.placeText(place) + ": " + error.what());
    }
    ++taken_;
  }

  ImportedDetection detectionOf(const CocoRecord& record) {
    ImportedDetection detection;
    if (record.id) detection.id = std::to_string(*record.id);
    if (!record.score.empty()) detection.score = record.score;
    detection.classId = classOf(record);
    const seg_mask::MaskBits bits = bitsOf(record.segmentation);
    detection.extent = seg_mask::extentOf(bits);
    detection.width = bits.width;
    detection.height = bits.height;
    if (record.segmentation[0] == '[') {
      detection.mask = "{\"polygon\": " + record.segmentation + "}";
    } else {
      detection.mask = R"({"size": [)" + std::to_string(bits.height) + ", " + std::to_string(bits.width) +
                       R"(], "counts": ")" +
                       SwJsonValue::escapeString(seg_mask::encodeCompressedRunLengths(bits)) + "\"}";
    }
    return detection;
  }

  int classOf(const CocoRecord& record) {
    if (classBy_ == ClassBy::Instance) {
      return classes_.number(std::to_string(taken_), "instance " + std::to_string(taken_));
    }
    const bool isTrack = classBy_ == ClassBy::Track;
    const std::optional<int64_t>& id = isTrack ? record.trackId : record.categoryId;
    if (!id) throw UserError(isTrack ? "has no \"track_id\"" : "has no \"category_id\"");
    return classes_.number(std::to_string(*id), "track " + std::to_string(*id));
  }

  /// Decodes the mask, which has to be of the image's size. That of a result's image is the first mask's.
  seg_mask::MaskBits bitsOf(const std::string& segmentation) {
    const bool isSizeKnown = size_.width > 0;
    if (segmentation[0] == '[' && !isSizeKnown) {
      throw UserError("a polygon in a list of results: the size of its image is not known");
    }
    const SwJsonValue mask(maskMember(parsed(segmentation)));
    seg_mask::MaskBits bits = CompactMask(mask, size_, "segmentation").bits();
    const FrameSize size{bits.width, bits.height};
    if (isSizeKnown && (size.width != size_.width || size.height != size_.height)) {
      throw UserError("the mask is " + sizeText(size) + ", its image " + sizeText(size_));
    }
    size_ = size;
    return bits;
  }

  const CocoFile& file_;
  ClassBy classBy_;
  DetectionLines& lines_;
  ClassTable& classes_;
  FrameSize size_{};
  uint64_t taken_ = 0;  ///< detections of this frame
  PassedOver passedOver_;
};

}  // namespace

PassedOver importCoco(const ImportSource& source, DetectionLines& lines, ClassTable& classes) {
  const CocoFile file(source.path);
  const std::vector<CocoFrame> frames = framesOf(file, source.images);
  CocoImporter importer(file, source.classBy, lines, classes);
  uint64_t number = 0;
  for (const CocoFrame& frame : frames) {
    if (Interrupt::requested()) break;
    importer.importFrame(number++, frame);
  }
  return importer.passedOver();
}

}  // namespace segmask
