#include "src/render/RenderInputs.h"

#include <utility>

#include "io/Interrupt.h"
#include "io/UserError.h"

namespace segmask {

ReadOptions readOptionsOf(const RenderOptions& options) {
  ReadOptions reading;
  reading.size = options.size;
  reading.keepRotation = options.keepRotation;
  reading.sideStreams = options.noAudio ? SideKinds::AllButAudio : SideKinds::All;
  return reading;
}

RenderInputs::RenderInputs(const RenderOptions& options, const std::optional<PicturePlan>& pictures,
                           const VideoPiece* piece) {
  if (pictures) {
    auto reader = std::make_unique<PictureReader>(pictures->inputs, options.keepRotation);
    pictureReader_ = reader.get();
    frames_.emplace(std::move(reader));
    pictureLines_ = std::make_unique<PictureDetections>(options.detections, pictures->names);
  } else {
    ReadOptions reading = readOptionsOf(options);
    // They are copied when the pieces are joined.
    if (piece) reading.sideStreams = SideKinds::None;
    frames_.emplace(openFrameReader(options.input, reading));
    const VideoFormat& format = reader().format();
    stream_ = std::make_unique<DetectionStream>(options.detections,
                                                render_base::FrameSize{format.width, format.height});
  }
  const bool isIndexed = piece && piece->indexed;
  if (options.start && !isIndexed) frames_->skipTo(parseStartPoint(*options.start), options.input);
  if (piece) {
    frames_->goToPiece(*piece, options.input);
  } else if (options.frames) {
    frames_->limit(*options.frames);
  }
}

void RenderInputs::passEarlierLines(const std::function<void(uint64_t, std::vector<DetectionLine>)>& visit) {
  for (uint64_t frame = frames_->first() - frames_->passed(); frame < frames_->first(); ++frame) {
    std::vector<DetectionLine> lines = stream_->take(frame);
    if (!lines.empty()) visit(frame, std::move(lines));
  }
}

bool RenderInputs::next(FrameJob& job) {
  if (!frames_->next(job.frame, job.number)) return false;
  const VideoFormat& format = formatOf(job.number);
  job.lines =
      stream_ ? stream_->take(job.number) : pictureLines_->take(job.number, {format.width, format.height});
  // The request to stop may have cut the detections short, so that the frame would lack some.
  return !Interrupt::requested();
}

std::optional<RenderInputs::Rest> RenderInputs::rest() {
  if (Interrupt::requested()) return std::nullopt;
  const std::string& path = stream_ ? stream_->path() : pictureLines_->path();
  if (stream_ ? stream_->heldNoLine() : pictureLines_->heldNoLine())
    return Rest{path + ": holds no line, so there was nothing to draw", false};
  const std::optional<uint64_t> frames = frames_->sourceFrames();
  if (!frames) return std::nullopt;
  std::optional<std::pair<uint64_t, uint64_t>> first;  // a line and its frame
  if (stream_ && stream_->rest()) first.emplace(stream_->rest()->lineNumber, stream_->rest()->frame);
  if (pictureLines_ && pictureLines_->rest()) {
    first.emplace(pictureLines_->rest()->lineNumber, pictureLines_->rest()->frame);
  }
  if (!first) return Rest{};
  const std::string count = std::to_string(*frames);
  const std::string end = stream_ ? "the end of the video, which has " + count +
                                        " frames; this line and all after it were not used"
                                  : "the last picture; there are " + count;
  return Rest{path + ":" + std::to_string(first->first) + ": frame " + std::to_string(first->second) +
                  " is past " + end,
              true};
}

std::unique_ptr<RenderInputs> openInputs(const RenderOptions& options,
                                         const std::optional<PicturePlan>& pictures,
                                         const VideoPiece* piece) {
  try {
    auto inputs = std::make_unique<RenderInputs>(options, pictures, piece);
    if (!Interrupt::requested()) return inputs;
  } catch (const UserError&) {
    if (!Interrupt::requested()) throw;
  }
  return nullptr;
}

}  // namespace segmask
