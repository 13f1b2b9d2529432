#include "src/PngSequenceWriter.h"

#include "io/OutputFile.h"

namespace segmask {

PngSequenceWriter::PngSequenceWriter(const std::string& path, const VideoFormat& format, uint64_t firstFrame)
    : path_(path),
      pattern_(path),
      stage_(path),
      converter_(format, format.width, format.height),
      encoder_(format.width, format.height),
      nextFrame_(firstFrame) {}

void PngSequenceWriter::write(const Frame& frame) {
  const std::string name = pattern_.fileName(nextFrame_++);
  OutputFile file(stage_.pathOf(name), path_ + " (" + name + ")");
  file.write(encoder_.encode(converter_.convert(frame.nv12)));
  file.close();
}

}  // namespace segmask
