#include "src/RenderInputs.h"

#include <utility>

#include "io/Interrupt.h"
#include "io/UserError.h"
#include "src/detection_file_check.h"

namespace segmask {
namespace {

RenderInputs openUnlessInterrupted(const RenderOptions& options) {
  refuseOtherFiles(options.detections);
  ReadOptions reading;
  reading.size = options.size;
  reading.keepRotation = options.keepRotation;
  reading.sideStreams = options.noAudio ? SideKinds::AllButAudio : SideKinds::All;
  FrameSource frames(openFrameReader(options.input, reading));
  const VideoFormat& format = frames.reader().format();
  auto detections = std::make_unique<DetectionStream>(options.detections,
                                                      render_base::FrameSize{format.width, format.height});
  if (options.start) frames.skipTo(parseStartPoint(*options.start), options.input);
  if (options.frames) frames.limit(*options.frames);
  return {std::move(frames), std::move(detections)};
}

}  // namespace

std::optional<RenderInputs> openInputs(const RenderOptions& options) {
  try {
    RenderInputs inputs = openUnlessInterrupted(options);
    if (!Interrupt::requested()) return inputs;
  } catch (const UserError&) {
    if (!Interrupt::requested()) throw;
  }
  return std::nullopt;
}

}  // namespace segmask
