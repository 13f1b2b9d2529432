// Mask texts from their bytes to the frame's mask, against the plainest decoder and cv::resize; and base64
// alone. The input is a program of steps: each takes a text or makes a mask, and brings it to frames of the
// sizes it names. One FrameMask serves all steps, so what it keeps from the one before is tried too.

#include <cerrno>
#include <vector>

#include "fuzz/FuzzInput.h"
#include "fuzz/detection_builder.h"
#include "fuzz/fuzz_target.h"
#include "mask/mask_base64.h"
#include "mask/mask_text.h"
#include "src/FrameMask.h"
#include "test_support/model/mask.h"
#include "test_support/scalar_base64.h"
#include "test_support/scalar_frame_mask.h"

namespace {

using fuzz::Size;
using seg_mask::MaskBits;
using seg_mask_overlay::FrameMask;

// Ends a text within a program. No rule of mask texts knows it.
constexpr char kEndOfText = '\xFF';

void checkBits(const std::optional<MaskBits>& actual, const std::optional<model::Mask>& expected) {
  fuzz::check(actual.has_value() == expected.has_value(), "whether the text is a mask");
  if (!actual) return;
  fuzz::check(actual->width == expected->width && actual->height == expected->height, "the mask's sides");
  fuzz::check(actual->bits.size() == (expected->inside.size() + 7) / 8, "the mask's bytes");
  for (std::size_t i = 0; i < expected->inside.size(); ++i) {
    fuzz::check(actual->inside(i) == expected->inside[i], "the mask's pixels");
  }
}

void checkFrame(FrameMask& frame, const MaskBits& mask, Size size) {
  const cv::Mat expected = seg_mask::scalarFrameMask(mask, size.width, size.height);
  const unsigned char* const actual = frame.fill(mask, size.width, size.height);
  const std::string is(reinterpret_cast<const char*>(actual), expected.total());
  const std::string shouldBe(reinterpret_cast<const char*>(expected.data), expected.total());
  if (is == shouldBe) return;
  fuzz::fail("a " + std::to_string(mask.width) + "x" + std::to_string(mask.height) + " mask in a " +
             std::to_string(size.width) + "x" + std::to_string(size.height) + " frame");
}

void checkBase64(const std::string& text, std::size_t limit) {
  // Behind other bytes, as in a mask text, so that it lies at any address.
  for (std::size_t offset = 0; offset < 3; ++offset) {
    const std::string padded = std::string(offset, '|') + text;
    const std::string_view data = std::string_view(padded).substr(offset);
    const std::vector<std::uint8_t> actual = seg_mask::decodeBase64(data, limit);
    fuzz::check(actual == seg_mask::scalarDecodeBase64(data, limit), "base64");
  }
}

void step(FuzzInput& input, FrameMask& frame) {
  const unsigned kind = input.below(4);
  if (kind == 0) {
    const std::size_t limit = input.number<std::uint16_t>() % 1024;
    checkBase64(input.upTo(kEndOfText), limit);
    return;
  }
  const Size first = fuzz::buildSize(input);
  const Size second = fuzz::buildSize(input);
  const std::string text = kind == 1 ? fuzz::buildMaskText(input) : input.upTo(kEndOfText);

  constexpr int kErrnoBefore = 4711;
  errno = kErrnoBefore;
  const std::optional<MaskBits> mask = seg_mask::decodeMaskText(text);
  fuzz::check(errno == kErrnoBefore, "errno stays");
  const std::optional<model::Mask> expected = model::readMask(text);
  checkBits(mask, expected);
  fuzz::check(kind != 1 || mask, "a good text is a mask");
  if (!mask) return;
  for (const Size size : {first, second, Size{mask->width, mask->height}}) checkFrame(frame, *mask, size);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzInput program(data, size);
  FrameMask frame;
  for (int steps = 0; steps < 8 && !program.atEnd(); ++steps) step(program, frame);
  return 0;
}
