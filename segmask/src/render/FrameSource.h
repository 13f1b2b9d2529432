#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "io/Frame.h"
#include "src/batch/VideoPiece.h"
#include "video/FrameReader.h"

namespace segmask {

/// Where in a video to begin: at a frame, by its number from 0 on, or at the first frame that is shown at
/// this time or later, in seconds after the first frame.
struct StartPoint {
  uint64_t frame = 0;
  std::optional<double> seconds;
};

/// Parses "250", a frame, or a time with a point, a colon or an s: "12.5", "90s", "1:30", "1:02:03.5". Throws
/// UserError.
StartPoint parseStartPoint(const std::string& text);

/// Whether a frame that is shown `ticks` after the first one comes before that time.
bool isBeforeTime(int64_t ticks, AVRational tick, double seconds);

/// The part of a reader's frames that is drawn. Frames keep the numbers that they have in the source; their
/// times count from the part's first one, and those of a piece from the first piece's.
///
/// The frames before it are decoded and dropped, because containers do not say which number a frame has that
/// they find by its time. Where an index says so, decoding begins later.
class FrameSource {
 public:
  /// All frames.
  explicit FrameSource(std::unique_ptr<FrameReader> reader) : reader_(std::move(reader)) {}

  /// Reads up to the first frame of the part. Throws UserError, with `path`, when there is none.
  void skipTo(const StartPoint& start, const std::string& path);

  /// Reads up to the first frame of the piece, which may have none; `path` is the input. After skipTo(), or
  /// where the piece is indexed in its place. Throws NotAsIndexed, here and in next(), when the frames are
  /// not those of the index.
  void goToPiece(const VideoPiece& piece, const std::string& path);

  /// After so many frames there are no more.
  void limit(uint64_t frames) { limit_ = frames; }

  /// As FrameReader::next(); `number` is that of the frame.
  bool next(Frame& frame, uint64_t& number);

  /// The number of the part's first frame.
  uint64_t first() const { return first_; }

  /// The frames between that of skipTo() and the piece.
  uint64_t passed() const { return passed_; }

  /// The source's time from which times count.
  int64_t beginning() const { return shift_; }

  /// The errors in reading the part. Those before a piece are those of other pieces.
  Damage damage() const;

  FrameReader& reader() const { return *reader_; }

  /// The number of frames of the part, an estimate, where it is known.
  std::optional<uint64_t> frameCount() const;

  /// The number of the source's frames, once next() has given the last; empty while there may be more.
  std::optional<uint64_t> sourceFrames() const { return sourceFrames_; }

 private:
  bool isBefore(const StartPoint& start, const Frame& frame) const;
  void passOver(uint64_t frames);
  void goToIndexed(const IndexedFrames& indexed);
  void checkTime(int64_t pts) const;

  std::unique_ptr<FrameReader> reader_;
  std::optional<Frame> pending_;  ///< the first frame of the part
  uint64_t first_ = 0;            ///< its number
  uint64_t given_ = 0;
  uint64_t passed_ = 0;
  Damage damageBefore_;  ///< of a piece
  std::optional<IndexedFrames> indexed_;
  std::string path_;      ///< where they are indexed
  int64_t firstPts_ = 0;  ///< of the source
  int64_t shift_ = 0;     ///< what is taken from times
  std::optional<uint64_t> limit_;
  std::optional<uint64_t> sourceFrames_;
};

}  // namespace segmask
