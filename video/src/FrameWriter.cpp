#include "video/FrameWriter.h"

#include "io/UserError.h"
#include "io/file_names.h"
#include "src/H264Writer.h"
#include "src/PngSequenceWriter.h"
#include "src/RawNv12Writer.h"
#include "src/Y4mWriter.h"
#include "video/PngPattern.h"

namespace segmask {

OutputKind outputKindOf(const std::string& path) {
  const std::string ending = lowerCaseEnding(path);
  if (ending == ".mp4") return OutputKind::Mp4;
  if (ending == ".mkv") return OutputKind::Mkv;
  if (ending == ".y4m") return OutputKind::Y4m;
  if (ending == ".nv12") return OutputKind::RawNv12;
  if (ending == ".png") {
    PngPattern check(path);
    return OutputKind::PngSequence;
  }
  throw UserError(path + ": unknown output ending '" + ending +
                  "'; it can be .mp4, .mkv, .y4m, .nv12 or a pattern such as name_%04d.png");
}

std::unique_ptr<FrameWriter> openFrameWriter(const std::string& path, const VideoFormat& format) {
  switch (outputKindOf(path)) {
    case OutputKind::Mp4:
      return std::make_unique<H264Writer>(path, "mp4", format);
    case OutputKind::Mkv:
      return std::make_unique<H264Writer>(path, "matroska", format);
    case OutputKind::Y4m:
      return std::make_unique<Y4mWriter>(path, format);
    case OutputKind::RawNv12:
      return std::make_unique<RawNv12Writer>(path);
    case OutputKind::PngSequence:
      return std::make_unique<PngSequenceWriter>(path, format);
  }
  return nullptr;
}

}  // namespace segmask
