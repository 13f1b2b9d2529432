#pragma once

#include <string>
#include <vector>

namespace segmask {

/// The names of a folder's pictures without the folder, in the order in which they are drawn on. Throws
/// UserError as picturesOf does, and for a name that is not UTF-8.
std::vector<std::string> pictureNames(const std::string& folder);

}  // namespace segmask
