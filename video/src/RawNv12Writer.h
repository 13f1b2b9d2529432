#pragma once

#include <string>

#include "io/OutputFile.h"
#include "io/OutputPlace.h"
#include "video/FrameWriter.h"

namespace segmask {

/// Writes frames as they are, tightly packed, one after the other. Size, time and colour tags are not kept.
class RawNv12Writer : public FrameWriter {
 public:
  explicit RawNv12Writer(const std::string& path) : place_(path), file_(place_.open()) {}

  void write(const Frame& frame) override { file_.write(frame.nv12.data(), frame.nv12.size()); }
  void finish() override { file_.close(); }
  std::string finishedFile() const override { return place_.stagedFile(); }
  void commit(Existing existing) override { place_.commit(existing); }

 private:
  OutputPlace place_;
  OutputFile file_;
};

}  // namespace segmask
