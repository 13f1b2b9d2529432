#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/DetectionStream.h"
#include "host/FramePipeline.h"
#include "host/PictureDetections.h"
#include "src/commands.h"
#include "src/render/FrameSource.h"
#include "src/render/PicturePlan.h"
#include "video/pictures.h"

namespace segmask {

/// How the input is to be read.
ReadOptions readOptionsOf(const RenderOptions& options);

/// What `segmask render` reads: the frames of a video and lines in their order, or pictures and lines in any.
class RenderInputs {
 public:
  /// Opens the inputs and skips to the first frame that is wanted, of a piece where there is one. Throws
  /// UserError.
  RenderInputs(const RenderOptions& options, const std::optional<PicturePlan>& pictures,
               const VideoPiece* piece);

  FrameSource& frames() { return *frames_; }
  const FrameReader& reader() const { return frames_->reader(); }

  bool arePictures() const { return pictureReader_; }

  /// The format of a frame that was read. Any thread may ask that got the frame since.
  const VideoFormat& formatOf(uint64_t number) const {
    return pictureReader_ ? pictureReader_->formatOf(number) : reader().format();
  }

  /// Calls visit(frame, lines) for the frames of earlier pieces that have lines. To be called once, before
  /// next().
  void passEarlierLines(const std::function<void(uint64_t, std::vector<DetectionLine>)>& visit);

  /// Fills in the next frame's job, without `drawn`; false at the end.
  bool next(FrameJob& job);

  /// When all frames were read: a warning of lines that are for none, or of there being no line; and whether
  /// there were any for none. Empty when the run ended before its input, unless there was no line.
  struct Rest {
    std::string warning;
    bool hasLines = false;
  };
  std::optional<Rest> rest();

 private:
  std::optional<FrameSource> frames_;
  std::unique_ptr<DetectionStream> stream_;
  const PictureReader* pictureReader_ = nullptr;  ///< that of frames_, where pictures are read
  std::unique_ptr<PictureDetections> pictureLines_;
};

/// Opens the inputs. Empty when the user has asked to stop meanwhile: pipes and streams may take long to
/// open, and a failure after that request is not an error. Throws UserError.
std::unique_ptr<RenderInputs> openInputs(const RenderOptions& options,
                                         const std::optional<PicturePlan>& pictures,
                                         const VideoPiece* piece = nullptr);

}  // namespace segmask
