#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "io/Frame.h"
#include "io/UserError.h"
#include "video/FrameIndex.h"
#include "video/SideStreams.h"
#include "video/VideoFormat.h"

namespace segmask {

/// Errors of an input that did not end the video.
struct Damage {
  uint64_t packets = 0;  ///< that could not be decoded
  uint64_t frames = 0;   ///< that were decoded with errors
  uint64_t copied = 0;   ///< packets of side streams that the output did not take

  uint64_t count() const { return packets + frames + copied; }
};

/// A message of one sentence for the user about the damage of the input `path`; empty when there is none.
std::string damageWarning(const std::string& path, const Damage& damage);

/// The same about time stamps that jump back.
std::string timeJumpWarning(const std::string& path, uint64_t jumps);

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

  /// damageWarning of the input's errors that did not end the video. Complete when next() has returned false.
  virtual std::string warning() const { return {}; }

  /// The errors so far. Those of side streams are complete when the writer has finished.
  virtual Damage damage() const { return {}; }

  /// How often the video's time stamps have jumped back so far. What follows is moved, so that time goes on.
  virtual uint64_t timeJumps() const { return 0; }

  /// The streams beside the video, for a writer that copies them. Null where the input can have none. Owned
  /// by the reader.
  virtual SideStreams* sideStreams() { return nullptr; }

  /// What frames cannot keep of the input (more than 8 bits a sample, finer chroma, alpha), a sentence each.
  /// Complete after construction, of pictures when next() has returned false.
  virtual std::vector<std::string> remarks() const { return {}; }

  /// Reads on to the next packet of the video and leaves it out, without decoding; the side streams get what
  /// lies before it. False at the end, and where there are no packets. No next() may follow. Throws UserError
  /// as next().
  virtual bool passOver() { return false; }

  /// Where the frames are, of an input whose index was asked for (ReadOptions::index), once passOver() has
  /// returned false.
  virtual FrameIndex index() const { return {}; }

  /// next() goes on with the frame of an entry of index(). Side streams do not follow. Throws NotAsIndexed
  /// when the frame is not found there.
  virtual void goTo(const FrameEntry& /*entry*/) {}

 protected:
  FrameReader() = default;
};

/// An input whose frames are not where its index says.
class NotAsIndexed : public UserError {
 public:
  explicit NotAsIndexed(const std::string& path) : UserError(path + ": its frames are not as indexed") {}
};

struct FrameSize {
  int width = 0;
  int height = 0;
};

/// Parses a size like "1920x1080". Throws UserError for anything but two whole numbers from 1 to 65535 around
/// an x.
FrameSize parseFrameSize(const std::string& text);

/// The size of the raw frames that `path` holds, "-" being standard input; empty for an input that says its
/// own. `size` is what the user says of it, a text as parseFrameSize() takes. Throws UserError where it is
/// missing, is none, or has no use.
std::optional<FrameSize> rawFrameSize(const std::string& path, const std::optional<std::string>& size);

/// Which streams beside the video a reader offers to copy (SideStreams). Who asks for them must connect a
/// writer to them or leave them out.
enum class SideKinds { None, AllButAudio, All };

struct ReadOptions {
  std::optional<std::string> size;  ///< the --size text; empty for input that says its own
  bool keepRotation = false;        ///< leaves the pixels as they are stored and the rotation to players
  SideKinds sideStreams = SideKinds::None;
  bool index = false;  ///< packets are noted for FrameReader::index()
};

/// Opens raw frames (by the ending .nv12, with a size) or whatever libavformat reads (without). "-" is
/// standard input, which holds raw frames where there is a size. A rotation that the input asks players for
/// is applied. Throws UserError when the file cannot be opened, holds no video, or a size is missing,
/// malformed or out of place.
std::unique_ptr<FrameReader> openFrameReader(const std::string& path, const ReadOptions& options);

/// The same without further options.
std::unique_ptr<FrameReader> openFrameReader(const std::string& path, const std::optional<std::string>& size);

}  // namespace segmask
