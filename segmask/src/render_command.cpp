#include <fcntl.h>
#include <unistd.h>

#include <iostream>
#include <memory>
#include <optional>
#include <utility>

#include "host/DetectionStream.h"
#include "host/DetectionTally.h"
#include "host/FrameRenderer.h"
#include "host/PluginHost.h"
#include "host/ProducerInputs.h"
#include "io/Interrupt.h"
#include "io/OutputFile.h"
#include "io/StagedOutput.h"
#include "io/UserError.h"
#include "io/nv12.h"
#include "src/ContactSheet.h"
#include "src/FramePipeline.h"
#include "src/Progress.h"
#include "src/RenderSummary.h"
#include "src/StderrGuard.h"
#include "src/Telling.h"
#include "src/commands.h"
#include "src/config_hints.h"
#include "src/detection_file_check.h"
#include "src/payloads.h"
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
  ProducerInputs& inputs;
  Telling* telling;           ///< may be null
  StagedOutput* summaryFile;  ///< may be null
  IRenderPlugin& plugin;
};

bool readJob(const RenderStages& stages, FrameJob& job) {
  if (!stages.reader.next(job.frame)) return false;
  job.lines = stages.detections.take(job.number);
  // The request to stop may have cut the detections short, so that the frame would lack some.
  return !Interrupt::requested();
}

bool drawJob(const RenderStages& stages, FrameJob& job, RenderTimes& times) {
  // On a request to stop, frames that are drawn are still written; frames that wait here are dropped.
  if (Interrupt::requested()) return false;
  if (stages.telling) {
    for (const DetectionLine& line : job.lines) stages.telling->look(line);
  }
  stages.inputs.advance(job.number, std::move(job.lines));
  const FrameRenderer::Result result = stages.renderer.render(job.number, job.frame, stages.inputs);
  times.add(result.renderMs);
  if (stages.telling) stages.telling->look(result, job.frame);
  job.drawn = result.drawn;
  return true;
}

void writeJob(const RenderStages& stages, const FrameJob& job, RenderSummary& summary) {
  stages.writer.write(job.frame);
  if (stages.sheet) stages.sheet->offer(job.number, job.frame, job.drawn);
  if (job.drawn) ++summary.framesDrawn;
  ++summary.frames;
}

RenderSummary renderFrames(const RenderStages& stages, const Interrupt& interrupt, Progress& progress) {
  RenderSummary summary;
  FramePipeline::Stages callbacks;
  callbacks.read = [&](FrameJob& job) { return readJob(stages, job); };
  callbacks.draw = [&](FrameJob& job) { return drawJob(stages, job, summary.renderTimes); };
  callbacks.write = [&](const FrameJob& job) {
    writeJob(stages, job, summary);
    progress.update(summary.frames);
  };
  callbacks.stopReading = [&interrupt] { interrupt.request(); };
  summary.stageTimes = FramePipeline(std::move(callbacks)).run();
  summary.detections = stages.inputs.detectionsSeen();
  summary.detectionsLookedBack = stages.inputs.detectionsLookedBack();
  summary.telling = stages.telling;
  return summary;
}

/// Calls renderFrames with the progress shown on standard error; lines that others write there appear above
/// it.
RenderSummary renderWithProgress(const RenderStages& stages, const RenderOptions& options,
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
  return renderFrames(stages, interrupt, progress);
}

void setUp(IRenderPlugin& plugin, FrameRenderer& renderer, const RenderOptions& options) {
  renderer.use(plugin);
  plugin.enableDebug(options.debug);
  if (options.config) plugin.setConfig(*options.config);
}

/// Sets up the telling of what this plug-in draws. Which detections it drops is known of its own class alone.
void makeTelling(std::optional<Telling>& telling, const RenderOptions& options, FrameRenderer& renderer,
                 const ProducerInputs& inputs, const IRenderPlugin& plugin, const VideoFormat& format) {
  std::optional<DetectionTally> tally;
  if (plugin.getName() == std::string(kPluginClass)) {
    tally.emplace(decisionSettings(options.config), render_base::FrameSize{format.width, format.height});
  }
  telling.emplace(renderer, inputs, Nv12Layout{format.width, format.height}, std::move(tally));
}

void warn(const std::string& text) {
  std::cerr << "segmask: warning: " + oneLine(text) + "\n" << std::flush;
}

/// Warnings of what was hardly meant so, at the end of a run.
void warnOfHints(const Telling& telling, const RenderSummary& summary, const RenderOptions& options,
                 const std::string& schema) {
  if (options.config) {
    for (const std::string& hint : configWarnings(*options.config, schema)) warn(hint);
  }
  for (const std::string& hint : telling.hints().warnings(options.detections)) warn(hint);
  if (telling.framesChanged() > 0 || summary.detections == 0) return;
  warn(
      "nothing is visible: no pixel of any frame has changed, though there are detections (see the summary)");
}

/// True when there are lines past the end of the video.
bool warnOfRest(const FrameReader& reader, DetectionStream& detections, uint64_t frames) {
  if (!reader.warning().empty()) warn(reader.warning());
  if (Interrupt::requested()) return false;
  const std::optional<DetectionLine>& rest = detections.rest();
  if (detections.heldNoLine()) warn(detections.path() + ": holds no line, so there was nothing to draw");
  if (!rest) return false;
  warn(detections.path() + ":" + std::to_string(rest->lineNumber) + ": frame " + std::to_string(rest->frame) +
       " is past the end of the video, which has " + std::to_string(frames) +
       " frames; this line and all after it were not used");
  return true;
}

void writeSummaryFile(const StagedOutput& staged, const std::string& name, const std::string& json) {
  OutputFile file(staged.path(), name);
  file.write(json + "\n");
  file.close();
}

int reportEarlyInterrupt() {
  std::cerr << "segmask: interrupted before the first frame; nothing was written\n" << std::flush;
  return kExitInterrupted;
}

int finish(const RenderStages& stages, const RenderOptions& options, const std::string& pluginPath,
           const RenderSummary& summary) {
  if (summary.frames == 0) {
    if (!Interrupt::requested()) throw UserError(options.input + ": holds no frame");
    return reportEarlyInterrupt();
  }
  const bool hasRest = warnOfRest(stages.reader, stages.detections, summary.frames);
  // Everything that can fail for lack of space comes before the first output gets its name.
  stages.writer.finish();
  if (stages.sheet) stages.sheet->finish();
  const SummaryFiles files{options.detections, options.output, options.contactSheet, pluginPath};
  if (stages.summaryFile)
    writeSummaryFile(*stages.summaryFile, *options.summaryJson, summaryJson(summary, files));
  stages.writer.commit();
  if (stages.sheet) stages.sheet->commit();
  if (stages.summaryFile) stages.summaryFile->commit();
  if (stages.telling) warnOfHints(*stages.telling, summary, options, stages.plugin.getConfigList());
  std::cout << summaryText(summary, files) << std::flush;
  if (!Interrupt::requested())
    return options.strict && (hasRest || dropsAny(summary)) ? kExitDropped : kExitDone;
  std::cerr << "segmask: interrupted; the first " + std::to_string(summary.frames) + " frames are in " +
                   options.output + "\n"
            << std::flush;
  return kExitInterrupted;
}

void checkStrict(const Telling* telling, const std::string& pluginPath) {
  if (telling && telling->tally()) return;
  throw UserError(pluginPath + ": --strict needs " + kPluginClass +
                  ": what another plug-in drops is not known");
}

struct Inputs {
  std::unique_ptr<FrameReader> reader;
  std::unique_ptr<DetectionStream> detections;
};

/// Opens the inputs. Empty when the user has asked to stop meanwhile: pipes and streams may take long to
/// open, and a failure after that request is not an error.
std::optional<Inputs> openInputs(const RenderOptions& options) {
  try {
    refuseOtherFiles(options.detections);
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

  ProducerInputs producers(options.lookback);
  std::optional<Telling> telling;
  if (!options.noExplain) makeTelling(telling, options, renderer, producers, host.plugin(), reader.format());
  if (options.strict) checkStrict(telling ? &*telling : nullptr, pluginPath);

  const std::unique_ptr<FrameWriter> writer = openFrameWriter(options.output, reader.format());
  std::unique_ptr<ContactSheet> sheet;
  if (options.contactSheet) sheet = std::make_unique<ContactSheet>(*options.contactSheet, reader.format());
  std::unique_ptr<StagedOutput> summaryFile;
  if (options.summaryJson) summaryFile = std::make_unique<StagedOutput>(*options.summaryJson);
  const RenderStages stages{
      reader,    *inputs->detections,           renderer,          *writer,      sheet.get(),
      producers, telling ? &*telling : nullptr, summaryFile.get(), host.plugin()};
  return finish(stages, options, pluginPath, renderWithProgress(stages, options, interrupt));
}

}  // namespace segmask
