#pragma once

#include <string>
#include <vector>

#include "io/OutputFile.h"
#include "io/OutputPlace.h"
#include "io/nv12.h"
#include "video/FrameWriter.h"

namespace segmask {

/// Writes YUV4MPEG2, planar 4:2:0, odd dimensions included. The format has a frame rate but no time stamps,
/// and keeps the colour range but not the matrix.
class Y4mWriter : public FrameWriter {
 public:
  /// Without the header it is what follows another piece's frames.
  Y4mWriter(const std::string& path, const VideoFormat& format, bool withHeader);

  void write(const Frame& frame) override;
  void finish() override { file_.close(); }
  std::string finishedFile() const override { return place_.stagedFile(); }
  void commit(Existing existing) override { place_.commit(existing); }

 private:
  Nv12Layout layout_;
  std::vector<unsigned char> chroma_;  ///< the U plane, then the V plane
  OutputPlace place_;
  OutputFile file_;
};

}  // namespace segmask
