#include "src/Y4mWriter.h"

namespace segmask {
namespace {

std::string ratio(AVRational value) {
  return std::to_string(value.num) + ":" + std::to_string(value.den);
}

/// The chroma sample location as the format names it; its default is the middle.
std::string chromaTag(AVChromaLocation location) {
  if (location == AVCHROMA_LOC_TOPLEFT) return "420paldv";
  if (location == AVCHROMA_LOC_LEFT) return "420mpeg2";
  return "420jpeg";
}

std::string fieldTag(AVFieldOrder order) {
  if (order == AV_FIELD_TT) return "t";
  return order == AV_FIELD_BB ? "b" : "p";
}

std::string header(const VideoFormat& format) {
  const bool aspectKnown = format.sampleAspect.num > 0 && format.sampleAspect.den > 0;
  const std::string aspect = aspectKnown ? ratio(format.sampleAspect) : "0:0";
  std::string text = "YUV4MPEG2 W" + std::to_string(format.width) + " H" + std::to_string(format.height) +
                     " F" + ratio(format.frameRate) + " I" + fieldTag(format.fieldOrder) + " A" + aspect +
                     " C" + chromaTag(format.color.chromaLocation);
  if (format.color.range == AVCOL_RANGE_JPEG) text += " XCOLORRANGE=FULL";
  if (format.color.range == AVCOL_RANGE_MPEG) text += " XCOLORRANGE=LIMITED";
  return text + "\n";
}

}  // namespace

Y4mWriter::Y4mWriter(const std::string& path, const VideoFormat& format, bool withHeader)
    : layout_{format.width, format.height},
      chroma_(layout_.chromaBytes()),
      place_(path),
      file_(place_.open()) {
  if (withHeader) file_.write(header(format));
}

void Y4mWriter::write(const Frame& frame) {
  const std::size_t planeBytes = layout_.chromaBytes() / 2;
  const std::ptrdiff_t stride = layout_.chromaColumns();
  deinterleaveChroma({frame.nv12.data() + layout_.lumaBytes(), 2 * stride}, {chroma_.data(), stride},
                     {chroma_.data() + planeBytes, stride}, layout_.chromaColumns(), layout_.chromaRows());
  file_.write("FRAME\n");
  file_.write(frame.nv12.data(), layout_.lumaBytes());
  file_.write(chroma_.data(), chroma_.size());
}

}  // namespace segmask
