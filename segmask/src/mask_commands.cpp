#include "src/mask_commands.h"

#include <iostream>
#include <utility>

#include "core/SwJsonDocument.h"
#include "host/CompactMask.h"
#include "host/verdict_words.h"
#include "io/TextOutput.h"
#include "io/UserError.h"
#include "io/file_names.h"
#include "io/reading.h"
#include "mask/mask_extent.h"
#include "mask/mask_text.h"
#include "src/commands.h"
#include "video/FrameReader.h"
#include "video/mask_picture.h"

namespace segmask {
namespace {

using seg_mask::MaskBits;

constexpr std::size_t kMostInputBytes = std::size_t{256} << 20;

struct ReadMask {
  MaskBits bits;
  std::string form;
};

ReadMask readPicture(const std::string& bytes) {
  const MaskPicture picture = decodeMaskPicture(bytes);
  return {seg_mask::packMask(picture.values.data(), picture.width, picture.height, picture.width), "PNG"};
}

ReadMask readText(const std::string& text) {
  seg_mask::MaskTextFault fault;
  std::optional<MaskBits> bits = seg_mask::decodeMaskText(text, &fault);
  if (!bits) throw UserError(whyNoMask(fault, text));
  return {std::move(*bits), "mask text SEG1"};
}

std::string formOf(const SwJsonObject& mask) {
  if (mask.contains("polygon")) return "polygons";
  const SwJsonValue* const counts = mask.find("counts");
  return counts && counts->isString() ? "compressed run lengths" : "run lengths";
}

ReadMask readCompact(const std::string& json, const std::optional<std::string>& size) {
  SwJsonDocument document;
  SwString error;
  if (!document.loadFromJson(json, error)) throw UserError("not JSON: " + error.str());
  const SwJsonObject object = document.object();
  if (!size && (object.contains("polygon") || object.contains("at"))) {
    throw UserError("polygons, and masks of a part of the frame, need the frame's --size WIDTHxHEIGHT");
  }
  const FrameSize frame = size ? parseFrameSize(*size) : FrameSize();
  const CompactMask mask(document.root(), {frame.width, frame.height});
  return {mask.bits(), formOf(object)};
}

/// A mask in whatever form the bytes are.
ReadMask readMask(const std::string& bytes, const std::optional<std::string>& size) {
  if (isPng(bytes)) return readPicture(bytes);
  const std::size_t first = bytes.find_first_not_of(" \t\r\n");
  const std::string text = first == std::string::npos ? std::string() : bytes.substr(first);
  if (text.compare(0, 5, "SEG1|") == 0) return readText(text);
  if (text.compare(0, 1, "{") == 0) return readCompact(text, size);
  throw UserError("is no mask: neither a PNG file, a text \"SEG1|...\" nor a JSON object");
}

/// White inside.
std::string pictureOf(const MaskBits& bits) {
  const int64_t count = int64_t{bits.width} * bits.height;
  if (count > kMostMaskPicturePixels) {
    throw UserError("has more than " + std::to_string(kMostMaskPicturePixels) +
                    " pixels, which a PNG file of a mask may have");
  }
  std::vector<uint8_t> pixels(static_cast<std::size_t>(count));
  for (std::size_t i = 0; i < pixels.size(); ++i) pixels[i] = bits.inside(i) ? 255 : 0;
  return encodeGreyPng(pixels, bits.width, bits.height);
}

std::string infoText(const ReadMask& mask) {
  const seg_mask::MaskExtent extent = seg_mask::extentOf(mask.bits);
  const int64_t pixels = int64_t{mask.bits.width} * mask.bits.height;
  const std::string box = "x " + std::to_string(extent.x) + ", y " + std::to_string(extent.y) + ", w " +
                          std::to_string(extent.w) + ", h " + std::to_string(extent.h);
  return "form          " + mask.form + "\nsize          " + std::to_string(mask.bits.width) + "x" +
         std::to_string(mask.bits.height) + "\ninside        " + std::to_string(extent.pixels) + " of " +
         std::to_string(pixels) + " pixels\nbox           " + (extent.pixels == 0 ? "none" : box) + "\n";
}

std::string resultOf(MaskCommand command, const MaskOptions& options, const std::string& bytes) {
  switch (command) {
    case MaskCommand::Encode:
      return seg_mask::encodeMaskText(readMask(bytes, options.size).bits) + "\n";
    case MaskCommand::Decode:
      return pictureOf(readMask(bytes, options.size).bits);
    case MaskCommand::Info:
      return infoText(readMask(bytes, options.size));
  }
  return {};
}

}  // namespace

int mask(MaskCommand command, const MaskOptions& options) {
  if (isSameFile(options.input, options.output)) {
    throw UserError(options.output + ": --output would replace the input");
  }
  const std::string bytes = readWhole(options.input, kMostInputBytes);
  std::string result;
  try {
    result = resultOf(command, options, bytes);
  } catch (const UserError& error) {
    throw UserError(inputName(options.input) + ": " + error.what());
  }
  TextOutput output(options.output);
  output.write(result);
  output.finish();
  output.commit();
  return kExitDone;
}

}  // namespace segmask
