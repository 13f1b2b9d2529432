#include "test_support/frame_check.h"

#include <cstddef>
#include <sstream>
#include <string>

namespace plugin_test {
namespace {

// The plane and place of one byte of a packed frame.
std::string placeName(const scene::Scene& scene, std::size_t at) {
  const auto luma_row = static_cast<std::size_t>(scene.width);
  const std::size_t luma_bytes = luma_row * static_cast<std::size_t>(scene.height);
  std::ostringstream name;
  if (at < luma_bytes) {
    name << "luma x " << at % luma_row << " y " << at / luma_row;
  } else {
    const auto chroma_row = static_cast<std::size_t>(scene::chromaRowBytes(scene.width));
    const std::size_t place = at - luma_bytes;
    name << (place % 2 == 0 ? "U" : "V") << " x " << place % chroma_row / 2 << " y " << place / chroma_row;
  }
  return name.str();
}

}  // namespace

::testing::AssertionResult sameFrame(const scene::Scene& scene, const std::vector<uint8_t>& expected,
                                     const std::vector<uint8_t>& actual) {
  if (expected.size() != actual.size()) {
    return ::testing::AssertionFailure()
           << "expected " << expected.size() << " bytes, got " << actual.size() << "\n"
           << scene;
  }
  for (std::size_t at = 0; at < expected.size(); ++at) {
    if (expected[at] == actual[at]) continue;
    return ::testing::AssertionFailure()
           << "first difference at " << placeName(scene, at) << ": expected "
           << static_cast<int>(expected[at]) << ", got " << static_cast<int>(actual[at]) << "\n"
           << scene;
  }
  return ::testing::AssertionSuccess();
}

}  // namespace plugin_test
