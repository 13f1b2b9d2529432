#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "io/Frame.h"
#include "io/StagedOutput.h"
#include "video/SideStreams.h"
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

  /// Where the output stands between finish() and commit(), for an output of one file; otherwise empty.
  virtual std::string finishedFile() const { return {}; }

  /// Gives the finished output its name, or throws FileExists where a file is there that is to be kept.
  virtual void commit(Existing existing) = 0;
  void commit() { commit(Existing::Replaced); }

 protected:
  FrameWriter() = default;
};

/// The kinds of output, chosen by the ending of the output's name. Standard output, "-", is Matroska.
enum class OutputKind { Mp4, Mkv, Y4m, RawNv12, PngSequence };

/// Throws UserError for any other ending, for a .png name that is not a pattern (PngPattern), and for a pipe
/// where the kind cannot go through one.
OutputKind outputKindOf(const std::string& path);

/// Whether writing `output` would replace the file `input`, by name or as a picture of a sequence. Standard
/// output replaces none. Throws as outputKindOf.
bool wouldReplace(const std::string& output, const std::string& input);

/// The options of the H.264 encoder, as libx264 takes them. By default, a quality at which compression does
/// not hide the overlay, at a speed that suits a laptop.
struct EncoderOptions {
  std::string crf = "18";
  std::string preset = "veryfast";
};

/// Whether outputs of the kind carry what is left for players to do (VideoFormat::displayMatrix).
constexpr bool carriesRotation(OutputKind kind) {
  return kind == OutputKind::Mp4;
}

struct WriteOptions {
  EncoderOptions encoder;
  SideStreams* side = nullptr;  ///< the streams to copy; not owned, may be null, outlives the writer

  /// Where the output is only a piece, the number of its first frame in the whole output. It is then in a
  /// form that joinPieces takes, without side streams; a PNG sequence is numbered from there.
  std::optional<uint64_t> pieceFrom = std::nullopt;
};

/// A pipe is opened here and waited for until someone reads it. Side streams that the output cannot hold are
/// left out (SideStreams::leftOut).
std::unique_ptr<FrameWriter> openFrameWriter(const std::string& path, const VideoFormat& format,
                                             const WriteOptions& options = {});

}  // namespace segmask
