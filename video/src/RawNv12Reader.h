#pragma once

#include <string>

#include "io/FileDescriptor.h"
#include "video/FrameReader.h"

namespace segmask {

/// Reads tightly packed NV12 frames, one after the other, from a file or a pipe. Such a file says nothing
/// about time: frames come at 30 a second.
class RawNv12Reader : public FrameReader {
 public:
  /// Throws UserError when the file cannot be opened or does not hold whole frames of that size.
  RawNv12Reader(const std::string& path, FrameSize size);

  const VideoFormat& format() const override { return format_; }

  /// Exact for a file, unknown for a pipe.
  std::optional<uint64_t> frameCount() const override { return frameCount_; }

  bool next(Frame& frame) override;
  FrameIndex index() const override;
  void goTo(const FrameEntry& entry) override;

 private:
  std::string path_;  ///< what errors call it
  VideoFormat format_;
  std::size_t frameBytes_;
  FileDescriptor file_;
  std::optional<uint64_t> frameCount_;
  int64_t framesRead_ = 0;
};

}  // namespace segmask
