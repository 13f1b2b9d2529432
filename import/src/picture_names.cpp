#include "src/picture_names.h"

#include <filesystem>

#include "io/UserError.h"
#include "io/utf8.h"
#include "video/pictures.h"

namespace segmask {

std::vector<std::string> pictureNames(const std::string& folder) {
  std::vector<std::string> names = picturesOf(folder);
  for (std::string& name : names) {
    const std::string path = name;
    name = std::filesystem::path(path).filename().string();
    if (!isUtf8(name)) throw UserError(path + ": the name is not UTF-8, as the lines need it");
  }
  return names;
}

}  // namespace segmask
