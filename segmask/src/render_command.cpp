#include <fcntl.h>
#include <unistd.h>

#include <iomanip>
#include <iostream>
#include <memory>
#include <optional>
#include <utility>

#include "host/DetectionPayload.h"
#include "host/DetectionStream.h"
#include "host/FrameRenderer.h"
#include "host/PluginHost.h"
#include "host/ProducerInputs.h"
#include "io/Interrupt.h"
#include "io/UserError.h"
#include "src/ContactSheet.h"
#include "src/FramePipeline.h"
#include "src/Progress.h"
#include "src/RenderTimes.h"
#include "src/StageTimes.h"
#include "src/StderrGuard.h"
#include "src/commands.h"
#include "video/FrameReader.h"
#include "video/FrameWriter.h"

namespace segmask {
namespace {

/// The road of the frames, from the reader to the writers.
struct Road {
  FrameReader& reader;
  DetectionStream& detections;
  FrameRenderer& renderer;
  FrameWriter& writer;
  ContactSheet* sheet;  // may be null
};

/// Each stage counts for itself; all are read when they have ended.
struct Totals {
  uint64_t frames = 0;
  uint64_t framesDrawn = 0;
  uint64_t detections = 0;
  RenderTimes renderTimes;
  StageTimes stageTimes;
};

bool readJob(const Road& road, FrameJob& job) {
  if (!road.reader.next(job.frame)) return false;
  job.lines = road.detections.take(job.number);
  // The detections may have been cut short by the same wish to stop; such a frame would lack some.
  return !Interrupt::requested();
}

bool drawJob(const Road& road, FrameJob& job, ProducerInputs& inputs, RenderTimes& times) {
  // Stop soon: what is drawn will still be written, what waits here is dropped.
  if (Interrupt::requested()) return false;
  inputs.advance(job.number, std::move(job.lines));
  const FrameRenderer::Result result = road.renderer.render(job.number, job.frame, inputs);
  times.add(result.renderMs);
  job.drawn = result.drawn;
  return true;
}

void writeJob(const Road& road, const FrameJob& job, Totals& totals) {
  road.writer.write(job.frame);
  if (road.sheet) road.sheet->offer(job.number, job.frame, job.drawn);
  if (job.drawn) ++totals.framesDrawn;
  ++totals.frames;
}

Totals renderFrames(const Road& road, uint64_t lookback, const Interrupt& interrupt, Progress& progress) {
  Totals totals;
  ProducerInputs inputs(lookback);
  FramePipeline::Stages stages;
  stages.read = [&](FrameJob& job) { return readJob(road, job); };
  stages.draw = [&](FrameJob& job) { return drawJob(road, job, inputs, totals.renderTimes); };
  stages.write = [&](const FrameJob& job) {
    writeJob(road, job, totals);
    progress.update(totals.frames);
  };
  stages.stopReading = [&interrupt] { interrupt.request(); };
  totals.stageTimes = FramePipeline(std::move(stages)).run();
  totals.detections = inputs.detectionsSeen();
  return totals;
}

/// The same with the progress shown on standard error, and what others write there kept out of its way.
Totals renderWithProgress(const Road& road, const RenderOptions& options, const Interrupt& interrupt) {
  using Style = Progress::Style;
  const Style style = options.noProgress ? Style::None : progressStyleFor(STDERR_FILENO);
  const FileDescriptor terminal(fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
  Progress progress(terminal ? style : Style::None, terminal.get(), road.reader.frameCount());
  std::unique_ptr<StderrGuard> guard;
  if (terminal && style == Style::Bar) {
    guard =
        std::make_unique<StderrGuard>([&progress](const std::string& line) { progress.printAbove(line); });
  }
  return renderFrames(road, options.lookback, interrupt, progress);
}

/// Registering fills the library's registries, which it announces on standard error: worth knowing for
/// whoever looks for faults, noise for everybody else.
void registerPayloads(bool debug) {
  if (debug) {
    registerDetectionPayload();
  } else {
    const StderrSilence silence;
    registerDetectionPayload();
  }
}

void setUp(IRenderPlugin& plugin, FrameRenderer& renderer, const RenderOptions& options) {
  renderer.use(plugin);
  plugin.enableDebug(options.debug);
  if (options.config) plugin.setConfig(*options.config);
}

void warn(const std::string& text) {
  std::cerr << "segmask: warning: " + oneLine(text) + "\n" << std::flush;
}

void warnOfRest(const FrameReader& reader, DetectionStream& detections, uint64_t frames) {
  if (!reader.warning().empty()) warn(reader.warning());
  if (Interrupt::requested()) return;
  const std::optional<DetectionLine>& rest = detections.rest();
  if (!rest) return;
  warn(detections.path() + ":" + std::to_string(rest->lineNumber) + ": frame " + std::to_string(rest->frame) +
       " is past the end of the video, which has " + std::to_string(frames) +
       " frames; this line and all after it were not used");
}

void printSummary(const RenderOptions& options, const Totals& totals) {
  std::cout << "frames        " << totals.frames << "\n"
            << "frames drawn  " << totals.framesDrawn << "\n"
            << "detections    " << totals.detections << "\n"
            << std::fixed << std::setprecision(3) << "render        median "
            << totals.renderTimes.percentile(0.5) << " ms, 99th percentile "
            << totals.renderTimes.percentile(0.99) << " ms a frame (within 3 %)\n"
            << "slowest stage " << totals.stageTimes.slowestStage() << "\n"
            << "output        " << options.output << "\n";
  if (options.contactSheet) std::cout << "contact sheet " << *options.contactSheet << "\n";
  std::cout << std::flush;
}

int reportEarlyInterrupt() {
  std::cerr << "segmask: interrupted before the first frame; nothing was written\n" << std::flush;
  return kExitInterrupted;
}

int finish(const Road& road, const RenderOptions& options, const Totals& totals) {
  if (totals.frames == 0) {
    if (!Interrupt::requested()) throw UserError(options.input + ": holds no frame");
    return reportEarlyInterrupt();
  }
  warnOfRest(road.reader, road.detections, totals.frames);
  // All that can fail for want of space comes before the first new name appears.
  road.writer.finish();
  if (road.sheet) road.sheet->finish();
  road.writer.commit();
  if (road.sheet) road.sheet->commit();
  printSummary(options, totals);
  if (!Interrupt::requested()) return kExitDone;
  std::cerr << "segmask: interrupted; the first " + std::to_string(totals.frames) + " frames are in " +
                   options.output + "\n"
            << std::flush;
  return kExitInterrupted;
}

struct Inputs {
  std::unique_ptr<FrameReader> reader;
  std::unique_ptr<DetectionStream> detections;
};

/// Empty when the user has asked to stop meanwhile: pipes and streams may take long to open, and what they
/// fail with then is no error.
std::optional<Inputs> openInputs(const RenderOptions& options) {
  try {
    Inputs inputs{openFrameReader(options.input, options.size),
                  std::make_unique<DetectionStream>(options.detections)};
    if (!Interrupt::requested()) return inputs;
  } catch (const UserError&) {
    if (!Interrupt::requested()) throw;
  }
  return std::nullopt;
}

}  // namespace

int render(const RenderOptions& options) {
  const Interrupt interrupt;
  checkOptions(options);
  const std::optional<Inputs> inputs = openInputs(options);
  if (!inputs) return reportEarlyInterrupt();
  registerPayloads(options.debug);
  FrameReader& reader = *inputs->reader;

  // Before the plug-in, so that the backend it is given outlives it.
  FrameRenderer renderer(reader.format().width, reader.format().height);
  PluginHost host(options.plugin.value_or(defaultPluginPath()));
  setUp(host.plugin(), renderer, options);

  const std::unique_ptr<FrameWriter> writer = openFrameWriter(options.output, reader.format());
  std::unique_ptr<ContactSheet> sheet;
  if (options.contactSheet) sheet = std::make_unique<ContactSheet>(*options.contactSheet, reader.format());
  const Road road{reader, *inputs->detections, renderer, *writer, sheet.get()};
  return finish(road, options, renderWithProgress(road, options, interrupt));
}

}  // namespace segmask
