#include "src/picture_names.h"

#include <filesystem>

#include "video/pictures.h"

namespace segmask {

std::vector<std::string> pictureNames(const std::string& folder) {
  std::vector<std::string> names = picturesOf(folder);
  for (std::string& name : names) name = std::filesystem::path(name).filename().string();
  return names;
}

}  // namespace segmask
