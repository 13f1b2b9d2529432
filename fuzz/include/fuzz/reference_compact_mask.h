#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "fuzz/reference_json.h"
#include "fuzz/reference_masks.h"

/// The rules of a detection's member "mask" once more, for one whose form is right.
namespace reference {

/// The numbers of an array of so many whole ones of 32 bits; else nothing.
std::optional<std::vector<std::int64_t>> wholeNumbers(const JsonValue* value, std::size_t count);

/// Its mask in a frame of that size. Nothing if what it says is wrong, and, which `gaveUp` says then, if it
/// is too large to be made pixel by pixel and grid point by grid point.
std::optional<Pixels> compactMask(const JsonValue& mask, int width, int height, bool& gaveUp);

}  // namespace reference
