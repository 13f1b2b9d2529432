#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "src/CocoFile.h"

namespace segmask {

/// A frame of the import, with the image that it shows.
struct CocoFrame {
  const CocoImage* image;  ///< of the file; null for a picture that the file does not have
  std::string picture;     ///< the name of its file; empty where it is not known
};

/// The frames in order: the pictures of `folder`, or, without one, the file's images. An image is the picture
/// that has its file's name. One of a list of results is the picture whose name, without its ending, is the
/// image's number, with or without leading zeros. Throws UserError when images have no picture in the folder,
/// or two have the same. Without a folder no frame has a picture's name where several images have the same.
std::vector<CocoFrame> framesOf(const CocoFile& file, const std::optional<std::string>& folder);

}  // namespace segmask
