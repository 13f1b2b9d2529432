#pragma once

#include <memory>
#include <string>

#include "io/Frame.h"
#include "video/VideoFormat.h"

namespace segmask {

/// A destination of frames, written once from the first to the last. Nothing appears under the output's name
/// before finish() and commit(); a writer that is destroyed without them leaves no trace.
///
/// Every error is a UserError that names the output.
class FrameWriter {
 public:
  virtual ~FrameWriter() = default;
  FrameWriter(const FrameWriter&) = delete;
  FrameWriter& operator=(const FrameWriter&) = delete;

  virtual void write(const Frame& frame) = 0;

  /// Completes the output under its temporary name. No write may follow.
  virtual void finish() = 0;

  /// Gives the finished output its name.
  virtual void commit() = 0;

 protected:
  FrameWriter() = default;
};

/// The kinds of output, chosen by the ending of the output's name.
enum class OutputKind { Mp4, Mkv, Y4m, RawNv12, PngSequence };

/// Throws UserError for any other ending, and for a .png name that is not a pattern (PngPattern).
OutputKind outputKindOf(const std::string& path);

std::unique_ptr<FrameWriter> openFrameWriter(const std::string& path, const VideoFormat& format);

}  // namespace segmask
