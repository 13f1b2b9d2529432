#include <nanobind/stl/string.h>
#include <nanobind/stl/tuple.h>

#include <optional>
#include <string>
#include <tuple>

#include "host/verdict_words.h"
#include "mask/mask_text.h"
#include "src/HeldBuffer.h"
#include "src/Shutdown.h"
#include "src/bindings.h"

namespace nb = nanobind;

namespace segmask_python {
namespace {

std::string encode(nb::handle mask) {
  const HeldBuffer held(mask.ptr(), "mask", HeldBuffer::Access::Read);
  const Unlocked unlocked;
  return seg_mask::encodeMaskText(
      seg_mask::packMask(held.bytes(), held.columns(), held.rows(), held.stride()));
}

std::tuple<int, int, nb::bytes> decode(const nb::bytes& bytes) {
  const std::string text(bytes.c_str(), bytes.size());
  std::optional<seg_mask::MaskBits> mask;
  std::string fault;
  {
    const Unlocked unlocked;
    seg_mask::MaskTextFault found;
    mask = seg_mask::decodeMaskText(text, &found);
    if (!mask) fault = segmask::whyNoMask(found, text);
  }
  if (!mask) throw nb::value_error(("text: " + fault).c_str());
  return {mask->width, mask->height, nb::bytes(mask->bits.data(), mask->bits.size())};
}

}  // namespace

void bindMasks(nb::module_& module) {
  module.def("encode", &encode, nb::arg("mask"),
             "The mask text of a two-dimensional array of uint8; non-zero is inside.");
  module.def("decode", &decode, nb::arg("text"),
             "Width, height and packed bits of a mask text, the lowest bit of a byte first.");
}

}  // namespace segmask_python
