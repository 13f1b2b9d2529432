#pragma once

#include <string>
#include <vector>

namespace segmask {

/// Which of the names was probably meant: one of which at most a third of `name` differs. Empty when there is
/// none.
std::string nearestName(const std::string& name, const std::vector<std::string>& names);

}  // namespace segmask
