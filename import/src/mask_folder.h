#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "src/NamePattern.h"

namespace segmask {

/// A PNG file of a folder of masks.
struct MaskFile {
  std::string path;
  uint64_t frame;
  uint64_t instance;  ///< 0 where the pattern has none
  std::string category;
};

/// The frames of a folder of masks.
struct MaskFolder {
  std::vector<MaskFile> files;        ///< by frame, then by instance, then by name
  std::vector<std::string> pictures;  ///< the names of all frames' pictures; empty where they are not known
};

/// Finds the PNG files of `folder` and the frames that they belong to. {frame} is a frame's number, {image} a
/// picture's name. Without `images`, frames with {image} are numbered in the order of those names. Throws
/// UserError for a folder without PNG files, a name that does not fit the pattern, a category that is not
/// UTF-8, a frame that has no picture, and two files that say the same of frame, instance and category.
MaskFolder readMaskFolder(const std::string& folder, const NamePattern& pattern,
                          const std::optional<std::string>& images);

}  // namespace segmask
