#pragma once

#include <optional>
#include <string>
#include <vector>

#include "src/commands.h"

namespace segmask {

/// Which pictures `segmask render` reads and writes, where it draws pictures as pictures: the input is a
/// folder, or a picture whose output is a picture or a folder. An image whose output is a video is a video of
/// one frame.
struct PicturePlan {
  std::vector<std::string> inputs;  ///< paths, in their order
  std::vector<std::string> names;   ///< of the same pictures, without folders
  std::string outputFolder;
  std::vector<std::string> outputs;  ///< names within it
};

/// Empty where frames are drawn. Throws UserError for a folder that holds anything but pictures, an output
/// that cannot take them, outputs that would have one name, and options that make no sense for pictures.
std::optional<PicturePlan> planPictures(const RenderOptions& options);

}  // namespace segmask
