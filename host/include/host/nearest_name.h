#pragma once

#include <string>
#include <vector>

namespace segmask {

/// Which of the names was probably meant: one of which at most a third of `name` differs. Empty when there is
/// none.
std::string nearestName(const std::string& name, const std::vector<std::string>& names);

/// Whether `name` differs from `meant` in one byte, of ten and more in two at most, or in two that changed
/// places.
bool isMisspelling(const std::string& name, const std::string& meant);

}  // namespace segmask
