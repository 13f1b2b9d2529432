#pragma once

#include <optional>
#include <string>
#include <vector>

/// What a pass has to do, worked out in the plainest way, rule by rule: what the tests, the fuzzers and the
/// soak compare the plug-in with. Of the product it knows no more than the records and values that a host
/// hands over, on purpose: a rule misread once must not be misread twice the same way.
namespace model {

/// A mask as its text says, before it is brought to the frame.
struct Mask {
  int width = 0;
  int height = 0;
  std::vector<bool> inside;  ///< row by row
};

/// Nothing when the text is no valid mask.
std::optional<Mask> readMask(const std::string& text);

/// Which of `from` source columns (or rows) is shown at column `at` of `to` columns: the nearest one at or
/// before it.
int sourceIndex(int at, int to, int from);

/// Whether the mask, stretched over a whole frame of that size, covers the frame's pixel.
bool covers(const Mask& mask, int width, int height, int x, int y);

}  // namespace model
