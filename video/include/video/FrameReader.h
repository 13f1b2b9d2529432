#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "io/Frame.h"
#include "video/SideStreams.h"
#include "video/VideoFormat.h"

namespace segmask {

/// A source of frames, read once from the first to the last.
class FrameReader {
 public:
  virtual ~FrameReader() = default;
  FrameReader(const FrameReader&) = delete;
  FrameReader& operator=(const FrameReader&) = delete;

  /// Does not change after construction, but where pictures are read (PictureReader).
  virtual const VideoFormat& format() const = 0;

  /// The number of frames; an estimate for some containers, and empty when unknown.
  virtual std::optional<uint64_t> frameCount() const = 0;

  /// Fills `frame` with the next one. False at the end, and early once the user has asked to stop. Throws
  /// UserError when the input cannot be read any further.
  virtual bool next(Frame& frame) = 0;

  /// A message of one sentence for the user about errors that did not end the video; empty when there were
  /// none. Complete when next() has returned false.
  virtual std::string warning() const { return {}; }

  /// Packets of the input that could not be decoded and frames that were decoded with errors, so far.
  virtual uint64_t damaged() const { return 0; }

  /// The streams beside the video, for a writer that copies them. Null where the input can have none. Owned
  /// by the reader.
  virtual SideStreams* sideStreams() { return nullptr; }

  /// What frames cannot keep of the input (more than 8 bits a sample, finer chroma, alpha), a sentence each.
  /// Complete after construction, of pictures when next() has returned false.
  virtual std::vector<std::string> remarks() const { return {}; }

 protected:
  FrameReader() = default;
};

struct FrameSize {
  int width = 0;
  int height = 0;
};

/// Parses a size like "1920x1080". Throws UserError for anything but two whole numbers from 1 to 65535 around
/// an x.
FrameSize parseFrameSize(const std::string& text);

/// Which streams beside the video a reader offers to copy (SideStreams). Who asks for them must connect a
/// writer to them or leave them out.
enum class SideKinds { None, AllButAudio, All };

struct ReadOptions {
  std::optional<std::string> size;  ///< the --size text; empty for input that says its own
  bool keepRotation = false;        ///< leaves the pixels as they are stored and the rotation to players
  SideKinds sideStreams = SideKinds::None;
};

/// Opens raw frames (by the ending .nv12, with a size) or whatever libavformat reads (without). "-" is
/// standard input, which holds raw frames where there is a size. A rotation that the input asks players for
/// is applied. Throws UserError when the file cannot be opened, holds no video, or a size is missing,
/// malformed or out of place.
std::unique_ptr<FrameReader> openFrameReader(const std::string& path, const ReadOptions& options);

/// The same without further options.
std::unique_ptr<FrameReader> openFrameReader(const std::string& path, const std::optional<std::string>& size);

}  // namespace segmask
