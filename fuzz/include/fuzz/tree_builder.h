#pragma once

#include "core/SwJsonValue.h"
#include "fuzz/FuzzInput.h"

/// Builds a tree of at most `depth` containers in one another from the input's bytes, with any double, any
/// string and any key in it.
inline SwJsonValue buildTree(FuzzInput& input, unsigned depth) {
  switch (input.below(depth == 0 ? 6 : 10)) {
    case 0:
      return SwJsonValue();
    case 1:
      return input.flag();
    case 2:
      return static_cast<long>(input.number<std::int8_t>());
    case 3:
      return input.number<long>();
    case 4:
      return input.number<double>();
    case 5:
      return input.piece();
    case 6:
      return SwJsonValue::ofKind(input.flag() ? SwJsonValue::Kind::Object : SwJsonValue::Kind::Array);
    case 7: {
      // A double of a decimal text: raw bytes are seldom one of few digits.
      const double hundredths = static_cast<double>(input.number<std::int32_t>());
      return hundredths / 100.0;
    }
    case 8: {
      SwJsonObject object;
      for (unsigned count = input.below(8); count > 0; --count) {
        std::string key = input.piece();
        object.insert(std::move(key), buildTree(input, depth - 1));
      }
      return object;
    }
    default: {
      SwJsonArray array;
      for (unsigned count = input.below(8); count > 0; --count) array.append(buildTree(input, depth - 1));
      return array;
    }
  }
}
