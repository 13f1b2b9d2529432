#include "src/RawNv12Reader.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "io/Interrupt.h"
#include "io/UserError.h"
#include "io/nv12.h"

namespace segmask {

RawNv12Reader::RawNv12Reader(const std::string& path, FrameSize size)
    : path_(inputName(path)),
      frameBytes_(Nv12Layout{size.width, size.height}.frameBytes()),
      file_(openForReading(path)) {
  format_.width = size.width;
  format_.height = size.height;

  struct stat status {};
  if (fstat(file_.get(), &status) != 0) throw systemError(path_, errno);
  if (S_ISDIR(status.st_mode)) throw systemError(path_, EISDIR);
  if (!S_ISREG(status.st_mode)) return;
  const auto bytes = static_cast<uint64_t>(status.st_size);
  if (bytes == 0) throw UserError(path_ + ": the file is empty");
  if (bytes % frameBytes_ != 0) {
    throw UserError(path_ + ": --size " + std::to_string(size.width) + "x" + std::to_string(size.height) +
                    " does not fit: " + std::to_string(bytes) +
                    " bytes are not a whole number of frames of " + std::to_string(frameBytes_) + " bytes");
  }
  frameCount_ = bytes / frameBytes_;
}

bool RawNv12Reader::next(Frame& frame) {
  frame.nv12.resize(frameBytes_);
  const std::size_t bytes = readFully(file_.get(), frame.nv12.data(), frameBytes_, path_);
  if (bytes != frameBytes_) {
    if (Interrupt::requested()) return false;
    if (bytes == 0 && (!frameCount_ || static_cast<uint64_t>(framesRead_) >= *frameCount_)) return false;
    throw UserError(path_ + ": ends within frame " + std::to_string(framesRead_) + ", after " +
                    std::to_string(bytes) + " of " + std::to_string(frameBytes_) +
                    (frameCount_ ? " bytes; it has shrunk meanwhile" : " bytes"));
  }
  frame.pts = framesRead_++;
  return true;
}

FrameIndex RawNv12Reader::index() const {
  FrameIndex index;
  index.packets = frameCount_.value_or(0);
  for (uint64_t frame = 0; frame < index.packets; ++frame) {
    const auto pts = static_cast<int64_t>(frame);
    index.times.push_back(pts);
    index.entries.push_back({frame, pts, pts});
  }
  return index;
}

void RawNv12Reader::goTo(const FrameEntry& entry) {
  framesRead_ = entry.pts;
  const auto offset = static_cast<off_t>(entry.frame * frameBytes_);
  if (lseek(file_.get(), offset, SEEK_SET) < 0) throw systemError(path_, errno);
}

}  // namespace segmask
