#pragma once

namespace model {

/// Rounded to the nearest float, infinity beyond the last.
float nearestFloat(double value);

}  // namespace model
