#include "fuzz/detection_builder.h"

#include <array>
#include <cstdint>
#include <limits>
#include <utility>
#include <vector>

#include "core/SwJsonArray.h"
#include "fuzz/tree_builder.h"
#include "test_support/scene.h"

namespace fuzz {
namespace {

// About where a 32-bit or a 64-bit number ends, and what is no number.
SwJsonValue extremeNumber(FuzzInput& input) {
  using Long = std::numeric_limits<long>;
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  constexpr std::array<long, 9> kWhole{2147483647L, 2147483648L,  -2147483648L, -2147483649L, 4294967295L,
                                       4294967301L, -4294967297L, Long::max(),  Long::min()};
  constexpr std::array<double, 11> kDoubles{2147483647.5,
                                            2147483648.0,
                                            -2147483648.5,
                                            -2147483649.0,
                                            9223372036854775808.0,
                                            -1e300,
                                            3.4028235677973366e38,
                                            kInfinity,
                                            -kInfinity,
                                            std::numeric_limits<double>::quiet_NaN(),
                                            -0.0};
  const unsigned at = input.below(20);
  return at < kWhole.size() ? SwJsonValue(kWhole[at]) : SwJsonValue(kDoubles[at - kWhole.size()]);
}

SwJsonValue buildNumber(FuzzInput& input) {
  switch (input.below(8)) {
    case 0:
      return input.number<long>();
    case 1:
      return input.number<double>();
    case 2:
      return extremeNumber(input);
    case 3:
      return static_cast<double>(input.number<std::int16_t>()) / 100.0;
    case 4:
      return buildTree(input, 1);
    default:
      return static_cast<long>(input.number<std::int8_t>());
  }
}

SwJsonValue buildText(FuzzInput& input) {
  switch (input.below(4)) {
    case 0:
      return input.piece();
    case 1:
      return buildTree(input, 1);
    default:
      return buildMaskText(input);
  }
}

SwJsonValue buildElement(FuzzInput& input) {
  if (input.below(8) == 0) return buildTree(input, 1);
  const unsigned flags = input.byte();
  const unsigned absent = (flags & 0x80U) != 0 ? flags : 0;  // most lack nothing
  SwJsonObject detection;
  unsigned bit = 1;
  for (const char* key : {"x", "y", "w", "h", "class_id", "score"}) {
    if ((absent & bit) == 0) detection.insert(key, buildNumber(input));
    bit *= 2;
  }
  if ((absent & bit) == 0) detection.insert("class_info", buildText(input));
  return detection;
}

}  // namespace

Size buildSize(FuzzInput& input) {
  switch (input.below(32)) {
    case 0:
      return {1 + input.number<std::uint16_t>() % 4096, 1};
    case 1:
      return {1, 1 + input.number<std::uint16_t>() % 4096};
    case 2:
      return {1 + input.byte(), 1 + input.byte()};
    default:
      return {1 + static_cast<int>(input.below(32)), 1 + static_cast<int>(input.below(32))};
  }
}

std::string buildMaskText(FuzzInput& input) {
  const Size size = buildSize(input);
  std::string repeated = input.piece();
  if (repeated.empty()) repeated.push_back('\x0F');
  const auto pixels = static_cast<std::size_t>(size.width) * static_cast<std::size_t>(size.height);
  std::vector<std::uint8_t> bytes((pixels + 7) / 8);
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    bytes[i] = static_cast<unsigned char>(repeated[i % repeated.size()]);
  }
  return "SEG1|" + std::to_string(size.width) + "|" + std::to_string(size.height) + "|" +
         scene::base64(bytes);
}

SwJsonObject buildDetections(FuzzInput& input) {
  SwJsonObject payload;
  switch (input.below(8)) {
    case 0: {
      SwJsonValue tree = buildTree(input, 3);
      if (const SwJsonObject* object = tree.object()) return *object;
      payload.insert(input.piece(), std::move(tree));
      return payload;
    }
    case 1:
      payload.insert("detections", buildTree(input, 3));
      return payload;
    default: {
      SwJsonArray elements;
      for (unsigned count = input.below(6); count > 0; --count) elements.append(buildElement(input));
      payload.insert("detections", std::move(elements));
      return payload;
    }
  }
}

}  // namespace fuzz
