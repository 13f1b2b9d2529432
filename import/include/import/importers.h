#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "import/ClassTable.h"
#include "import/DetectionLines.h"

namespace segmask {

/// What is imported.
struct ImportSource {
  std::string path;
  /// A folder whose pictures, sorted by name, are the frames. Without it the source says which there are.
  std::optional<std::string> images;
  ClassBy classBy = ClassBy::Category;
};

/// What an import passed over.
struct PassedOver {
  uint64_t count = 0;
  std::string first;  ///< the first one's place
};

/// Imports a file in COCO's format: an object with "images", "annotations" and "categories", or a list of
/// results. "-" is standard input. Of the file only an index is in memory, and one image's annotations; a
/// pipe and a packed file are copied into a temporary file first. Annotations may stand in any order.
///
/// Every line is written that has a frame, also without detections. Annotations without "segmentation" are
/// passed over. Throws UserError, which names file, list and index, for everything else that is not as it
/// should be; what has been written to `lines` is of no use then. So it is once the user has asked to stop.
PassedOver importCoco(const ImportSource& source, DetectionLines& lines, ClassTable& classes);

/// Imports a folder of PNG files. `pattern` says what their names mean, see NamePattern. With {instance} in
/// it a file is one mask; without, each value of a file's pixels but 0 is one. PNG files without any pixel
/// inside are passed over. Throws as importCoco does.
PassedOver importMasks(const ImportSource& source, const std::string& pattern, DetectionLines& lines,
                       ClassTable& classes);

}  // namespace segmask
