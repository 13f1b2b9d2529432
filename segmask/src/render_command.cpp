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

/// The objects that read, draw and write the frames. Not owned.
struct RenderStages {
  FrameReader& reader;
  DetectionStream& detections;
  FrameRenderer& renderer;
  FrameWriter& writer;
  ContactSheet* sheet;  ///< may be null
};

/// Each member is written by one stage; they are read when all stages have ended.
struct Totals {
  uint64_t frames = 0;
  uint64_t framesDrawn = 0;
  uint64_t detections = 0;
  RenderTimes renderTimes;
  StageTimes stageTimes;
};

bool readJob(const RenderStages& stages, FrameJob& job) {
  if (!stages.reader.next(job.frame)) return false;
  job.lines = stages.detections.take(job.number);
  // The request to stop may have cut the detections short, so that the frame would lack some.
  return !Interrupt::requested();
}

bool drawJob(const RenderStages& stages, FrameJob& job, ProducerInputs& inputs, RenderTimes& times) {
  // On a request to stop, frames that are drawn are still written; frames that wait here are dropped.
  if (Interrupt::requested()) return false;
  inputs.advance(job.number, std::move(job.lines));
  const FrameRenderer::Result result = stages.renderer.render(job.number, job.frame, inputs);
  times.add(result.renderMs);
  job.drawn = result.drawn;
  return true;
}

void writeJob(const RenderStages& stages, const FrameJob& job, Totals& totals) {
  stages.writer.write(job.frame);
  if (stages.sheet) stages.sheet->offer(job.number, job.frame, job.drawn);
  if (job.drawn) ++totals.framesDrawn;
  ++totals.frames;
}

Totals renderFrames(const RenderStages& stages, uint64_t lookback, const Interrupt& interrupt,
                    Progress& progress) {
  Totals totals;
  ProducerInputs inputs(lookback);
  FramePipeline::Stages callbacks;
  callbacks.read = [&](FrameJob& job) { return readJob(stages, job); };
  callbacks.draw = [&](FrameJob& job) { return drawJob(stages, job, inputs, totals.renderTimes); };
  callbacks.write = [&](const FrameJob& job) {
    writeJob(stages, job, totals);
    progress.update(totals.frames);
  };
  callbacks.stopReading = [&interrupt] { interrupt.request(); };
  totals.stageTimes = FramePipeline(std::move(callbacks)).run();
  totals.detections = inputs.detectionsSeen();
  return totals;
}

/// Calls renderFrames with the progress shown on standard error; lines that others write there appear above
/// it.
Totals renderWithProgress(const RenderStages& stages, const RenderOptions& options,
                          const Interrupt& interrupt) {
  using Style = Progress::Style;
  const Style style = options.noProgress ? Style::None : progressStyleFor(STDERR_FILENO);
  const FileDescriptor terminal(fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
  Progress progress(terminal ? style : Style::None, terminal.get(), stages.reader.frameCount());
  std::unique_ptr<StderrGuard> guard;
  if (terminal && style == Style::Bar) {
    guard =
        std::make_unique<StderrGuard>([&progress](const std::string& line) { progress.printAbove(line); });
  }
  return renderFrames(stages, options.lookback, interrupt, progress);
}

/// Registers the payload types. The library then writes lines about its registries to standard error, which
/// are shown only with --debug.
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

void printSummary(const RenderOptions& options, const std::string& pluginPath, const Totals& totals) {
  std::cout << "frames        " << totals.frames << "\n"
            << "frames drawn  " << totals.framesDrawn << "\n"
            << "detections    " << totals.detections << "\n"
            << std::fixed << std::setprecision(3) << "render        median "
            << totals.renderTimes.percentile(0.5) << " ms, 99th percentile "
            << totals.renderTimes.percentile(0.99) << " ms a frame (within 3 %)\n"
            << "slowest stage " << totals.stageTimes.slowestStage() << "\n"
            << "output        " << options.output << "\n";
  if (options.contactSheet) std::cout << "contact sheet " << *options.contactSheet << "\n";
  std::cout << "plug-in       " << pluginPath << "\n" << std::flush;
}

int reportEarlyInterrupt() {
  std::cerr << "segmask: interrupted before the first frame; nothing was written\n" << std::flush;
  return kExitInterrupted;
}

int finish(const RenderStages& stages, const RenderOptions& options, const std::string& pluginPath,
           const Totals& totals) {
  if (totals.frames == 0) {
    if (!Interrupt::requested()) throw UserError(options.input + ": holds no frame");
    return reportEarlyInterrupt();
  }
  warnOfRest(stages.reader, stages.detections, totals.frames);
  // Everything that can fail for lack of space comes before the first output gets its name.
  stages.writer.finish();
  if (stages.sheet) stages.sheet->finish();
  stages.writer.commit();
  if (stages.sheet) stages.sheet->commit();
  printSummary(options, pluginPath, totals);
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

/// Opens the inputs. Empty when the user has asked to stop meanwhile: pipes and streams may take long to
/// open, and a failure after that request is not an error.
std::optional<Inputs> openInputs(const RenderOptions& options) {
  try {
    Inputs inputs{openFrameReader(options.input, options.size), nullptr};
    const VideoFormat& format = inputs.reader->format();
    inputs.detections = std::make_unique<DetectionStream>(
        options.detections, render_base::FrameSize{format.width, format.height});
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

  // Declared before the plug-in, because the plug-in's backend must outlive it.
  FrameRenderer renderer(reader.format().width, reader.format().height);
  const std::string pluginPath = options.plugin.path();
  PluginHost host(pluginPath);
  setUp(host.plugin(), renderer, options);

  const std::unique_ptr<FrameWriter> writer = openFrameWriter(options.output, reader.format());
  std::unique_ptr<ContactSheet> sheet;
  if (options.contactSheet) sheet = std::make_unique<ContactSheet>(*options.contactSheet, reader.format());
  const RenderStages stages{reader, *inputs->detections, renderer, *writer, sheet.get()};
  return finish(stages, options, pluginPath, renderWithProgress(stages, options, interrupt));
}

}  // namespace segmask
