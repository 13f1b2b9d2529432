#pragma once

#include <optional>
#include <string>

namespace segmask {

/// The options of `segmask import coco` and `segmask import masks`.
struct ImportOptions {
  std::string source;
  std::optional<std::string> images;
  std::string pattern = "{frame}_{instance}.png";  ///< of masks alone
  std::optional<std::string> classBy;
  std::optional<std::string> legend;
  std::string output;
};

enum class ImportKind { Coco, Masks };

/// Writes detections for `segmask render` from masks in another form, and prints a summary when they do not
/// go to standard output. Returns the exit code. Throws UserError; nothing has been written then.
int import(ImportKind kind, const ImportOptions& options);

}  // namespace segmask
