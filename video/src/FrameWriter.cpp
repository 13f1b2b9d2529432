#include "video/FrameWriter.h"

#include <filesystem>

#include "io/OutputPlace.h"
#include "io/UserError.h"
#include "io/file_names.h"
#include "src/H264Writer.h"
#include "src/PacketFile.h"
#include "src/PngSequenceWriter.h"
#include "src/RawNv12Writer.h"
#include "src/Y4mWriter.h"
#include "video/PngPattern.h"

namespace segmask {

namespace {

/// The ending that outputs of a kind have.
const char* endingOf(OutputKind kind) {
  switch (kind) {
    case OutputKind::Mp4:
      return ".mp4";
    case OutputKind::Mkv:
      return ".mkv";
    case OutputKind::Y4m:
      return ".y4m";
    case OutputKind::RawNv12:
      return ".nv12";
    case OutputKind::PngSequence:
      return ".png";
  }
  return "";
}

}  // namespace

OutputKind outputKindOf(const std::string& path) {
  if (path == kStandardStream) return OutputKind::Mkv;
  const std::string ending = lowerCaseEnding(path);
  if (ending == ".mp4") {
    if (isStream(path)) throw UserError(path + ": .mp4 cannot be written to a pipe; .mkv can");
    return OutputKind::Mp4;
  }
  if (ending == ".mkv") return OutputKind::Mkv;
  if (ending == ".y4m") return OutputKind::Y4m;
  if (ending == ".nv12") return OutputKind::RawNv12;
  if (ending == ".png") {
    PngPattern check(path);
    return OutputKind::PngSequence;
  }
  std::error_code ignored;
  if (std::filesystem::is_character_file(path, ignored) || std::filesystem::is_block_file(path, ignored)) {
    throw UserError(path + ": is a device, and an output is a file, a pipe or -");
  }
  throw UserError(path + ": unknown output ending '" + ending +
                  "'; it can be .mp4, .mkv, .y4m, .nv12 or a pattern such as name_%04d.png");
}

bool wouldReplace(const std::string& output, const std::string& input) {
  namespace fs = std::filesystem;
  const OutputKind kind = outputKindOf(output);
  if (output == kStandardStream) return false;
  if (isSameFile(output, input) || isSamePath(output, input)) return true;
  if (kind != OutputKind::PngSequence) return false;
  const fs::path file(input);
  const bool sameFolder = isSamePath(fs::path(output).parent_path() / ".", file.parent_path() / ".");
  return sameFolder && PngPattern(output).matches(file.filename().string());
}

std::unique_ptr<FrameWriter> openFrameWriter(const std::string& path, const VideoFormat& format,
                                             const WriteOptions& options) {
  const OutputKind kind = outputKindOf(path);
  const bool isContainer = kind == OutputKind::Mp4 || kind == OutputKind::Mkv;
  if (options.side && !isContainer)
    options.side->leaveOutAll(std::string(endingOf(kind)) + " cannot hold it");
  if (isContainer && options.pieceFrom) {
    return std::make_unique<PacketFileWriter>(path, format, options.encoder);
  }
  const uint64_t firstFrame = options.pieceFrom.value_or(0);
  switch (kind) {
    case OutputKind::Mp4:
      return std::make_unique<H264Writer>(path, "mp4", format, options);
    case OutputKind::Mkv:
      return std::make_unique<H264Writer>(path, "matroska", format, options);
    case OutputKind::Y4m:
      return std::make_unique<Y4mWriter>(path, format, firstFrame == 0);
    case OutputKind::RawNv12:
      return std::make_unique<RawNv12Writer>(path);
    case OutputKind::PngSequence:
      return std::make_unique<PngSequenceWriter>(path, format, firstFrame);
  }
  return nullptr;
}

}  // namespace segmask
