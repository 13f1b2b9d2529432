#include <fcntl.h>
#include <unistd.h>

#include <ctime>
#include <iostream>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "host/DetectionTally.h"
#include "host/FramePipeline.h"
#include "host/FrameRenderer.h"
#include "host/PluginHost.h"
#include "host/ProducerInputs.h"
#include "host/config_hints.h"
#include "io/FileDescriptor.h"
#include "io/Interrupt.h"
#include "io/UserError.h"
#include "io/file_names.h"
#include "io/nv12.h"
#include "src/batch/PieceReport.h"
#include "src/commands.h"
#include "src/messages.h"
#include "src/render/Progress.h"
#include "src/render/RenderInputs.h"
#include "src/render/RenderOutputs.h"
#include "src/render/RenderSummary.h"
#include "src/render/StderrGuard.h"
#include "src/render/Telling.h"
#include "src/render/payloads.h"
#include "src/report/RunReport.h"
#include "src/report/report_files.h"
#include "src/report/report_page.h"

namespace segmask {
namespace {

/// The objects that read, draw and write the frames. Not owned.
struct RenderStages {
  RenderInputs& inputs;
  ProducerInputs& producers;
  FrameRenderer& renderer;
  IRenderPlugin& plugin;
  Telling* telling;   ///< may be null
  RunReport* report;  ///< may be null
  RenderOutputs& outputs;
};

bool drawJob(const RenderStages& stages, FrameJob& job, RenderTimes& times) {
  // On a request to stop, frames that are drawn are still written; frames that wait here are dropped.
  if (Interrupt::requested()) return false;
  const VideoFormat& format = stages.inputs.formatOf(job.number);
  stages.renderer.setFrameSize(format.width, format.height);
  if (stages.telling) {
    stages.telling->setLayout({format.width, format.height});
    for (const DetectionLine& line : job.lines) stages.telling->look(line);
  }
  stages.producers.advance(job.number, std::move(job.lines));
  const FrameRenderer::Result result = stages.renderer.render(job.number, job.frame, stages.producers);
  times.add(result.renderMs);
  if (stages.telling) stages.telling->look(result, job.frame);
  if (stages.report) stages.report->look(job, format, stages.inputs.arePictures(), result);
  job.drawn = result.drawn;
  return true;
}

void writeJob(const RenderStages& stages, const FrameJob& job, RenderSummary& summary) {
  stages.outputs.write(job);
  if (job.drawn) ++summary.totals.framesDrawn;
  ++summary.totals.frames;
}

RenderSummary renderFrames(const RenderStages& stages, const Interrupt& interrupt, Progress& progress) {
  RenderSummary summary;
  RenderTotals& totals = summary.totals;
  // Those before a piece were counted with other pieces.
  const uint64_t seenBefore = stages.producers.detectionsSeen();
  const uint64_t lookedBackBefore = stages.producers.detectionsLookedBack();
  FramePipeline::Stages callbacks;
  callbacks.read = [&](FrameJob& job) { return stages.inputs.next(job); };
  callbacks.draw = [&](FrameJob& job) { return drawJob(stages, job, summary.totals.renderTimes); };
  callbacks.write = [&](const FrameJob& job) {
    writeJob(stages, job, summary);
    progress.update(summary.totals.frames);
  };
  callbacks.stopReading = [&interrupt] { interrupt.request(); };
  summary.stageTimes = FramePipeline(std::move(callbacks)).run();
  totals.detections = stages.producers.detectionsSeen() - seenBefore;
  totals.detectionsLookedBack = stages.producers.detectionsLookedBack() - lookedBackBefore;
  summary.telling = stages.telling;
  if (stages.telling) addTold(totals, *stages.telling);
  return summary;
}

/// Calls renderFrames with the progress shown on standard error; lines that others write there appear above
/// it.
RenderSummary renderWithProgress(const RenderStages& stages, const RenderOptions& options,
                                 const Interrupt& interrupt) {
  using Style = Progress::Style;
  const Style style = options.noProgress ? Style::None : progressStyleFor(STDERR_FILENO);
  const FileDescriptor terminal(fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
  Progress progress(terminal ? style : Style::None, terminal.get(), stages.inputs.frames().frameCount());
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

/// Warnings of what was hardly meant so, at the end of a run.
std::vector<std::string> hintWarnings(const Telling& telling, const RenderOptions& options,
                                      const std::string& schema) {
  std::vector<std::string> warnings;
  if (options.config) {
    for (const std::string& warning : configWarnings(*options.config, schema)) {
      warnings.push_back("--config: " + warning);
    }
  }
  // With a later start the first lines were not looked at.
  for (std::string& hint : telling.hints().warnings(options.detections, !options.start)) {
    warnings.push_back(std::move(hint));
  }
  return warnings;
}

/// What the frames of a video lose on the way to the output, and what is left out beside them.
void noteLosses(FrameReader& reader, const std::string& output) {
  for (const std::string& remark : reader.remarks()) note(remark);
  if (reader.format().displayMatrix && !carriesRotation(outputKindOf(output))) {
    const std::string name = output == kStandardStream ? "Matroska" : lowerCaseEnding(output);
    note(name + " cannot hold the rotation of the input");
  }
  if (!reader.sideStreams()) return;
  for (const std::string& stream : reader.sideStreams()->leftOut()) note(stream);
}

/// True when there are lines past the end of the input.
bool warnOfRest(RenderInputs& inputs, const std::string& path) {
  if (inputs.arePictures()) {
    for (const std::string& remark : inputs.reader().remarks()) note(remark);
  }
  const FrameReader& reader = inputs.reader();
  for (const std::string& warning : {reader.warning(), timeJumpWarning(path, reader.timeJumps())}) {
    if (!warning.empty()) warn(warning);
  }
  const std::optional<RenderInputs::Rest> rest = inputs.rest();
  if (!rest) return false;
  if (!rest->warning.empty()) warn(rest->warning);
  return rest->hasLines;
}

int reportEarlyInterrupt() {
  tell("interrupted before the first frame; nothing was written");
  return kExitInterrupted;
}

/// The files of a run, the outputs of which are complete and still without their names.
std::vector<ReportFile> reportFiles(const RenderOptions& options, const std::string& pluginPath,
                                    const RenderOutputs& outputs) {
  std::vector<ReportFile> files{describeFile("Input", options.input, options.input),
                                describeFile("Detections", options.detections, options.detections),
                                describeFile("Output", options.output, outputs.finishedFrames()),
                                describeFile("Plug-in", pluginPath, pluginPath)};
  if (options.contactSheet) {
    files.push_back(describeFile("Contact sheet", *options.contactSheet, outputs.finishedSheet()));
  }
  return files;
}

std::string reportText(const RenderStages& stages, const RenderOptions& options,
                       const std::string& pluginPath, const RenderSummary& summary) {
  ReportFacts facts;
  facts.output = options.output;
  facts.commandLine = options.commandLine;
  facts.config = options.config;
  facts.pluginName = stages.plugin.getName();
  facts.pluginPath = pluginPath;
  facts.pluginSchema = stages.plugin.getConfigList();
  facts.lookback = options.lookback;
  if (!stages.inputs.arePictures()) facts.format = stages.inputs.reader().format();
  facts.isInterrupted = Interrupt::requested();
  facts.written = std::time(nullptr);
  facts.files = reportFiles(options, pluginPath, stages.outputs);
  return reportPage(summary, *stages.report, facts);
}

/// After the last packet of the streams that are copied, the damage is complete.
void finishFrames(const RenderStages& stages, RenderTotals& totals) {
  stages.outputs.finishFrames();
  totals.damage = stages.inputs.frames().damage();
}

int finish(const RenderStages& stages, const RenderOptions& options, const std::string& pluginPath,
           RenderSummary& summary) {
  RenderTotals& totals = summary.totals;
  if (totals.frames == 0) {
    if (!Interrupt::requested()) throw UserError(options.input + ": holds no frame");
    return reportEarlyInterrupt();
  }
  finishFrames(stages, totals);
  const bool hasRest = warnOfRest(stages.inputs, options.input);
  const SummaryFiles files{options.detections, options.output, options.contactSheet, pluginPath,
                           options.report};
  stages.outputs.finish([&] { return summaryJson(totals, files.plugin); },
                        [&] { return reportText(stages, options, pluginPath, summary); });
  if (stages.telling) {
    const std::string schema = stages.plugin.getConfigList();
    for (const std::string& hint : hintWarnings(*stages.telling, options, schema)) warn(hint);
  }
  if (showsNothing(totals)) warn(kNothingVisible);
  if (options.output == kStandardStream || options.summaryJson == kStandardStream) {
    std::cerr << summaryText(summary, files) << std::flush;
  } else {
    printSummary(summaryText(summary, files));
  }
  if (!Interrupt::requested())
    return options.strict && (hasRest || lacksAny(totals)) ? kExitDropped : kExitDone;
  tell("interrupted; the first " + std::to_string(totals.frames) + " frames are in " + options.output);
  return kExitInterrupted;
}

PieceReport reportOf(const RenderStages& stages, const RenderOptions& options, const VideoPiece& piece,
                     const RenderTotals& totals) {
  const FrameSource& frames = stages.inputs.frames();
  PieceReport report;
  report.totals = totals;
  report.first = frames.first();
  report.beginning = frames.beginning();
  if (!piece.isLast) return report;
  report.reachedEnd = frames.sourceFrames().has_value();
  const std::optional<RenderInputs::Rest> rest = stages.inputs.rest();
  report.hasRest = rest && rest->hasLines;
  if (rest && !rest->warning.empty()) report.warnings.push_back(rest->warning);
  if (!stages.telling) return report;
  for (const std::string& hint : hintWarnings(*stages.telling, options, stages.plugin.getConfigList())) {
    report.warnings.push_back(hint);
  }
  return report;
}

int finishPiece(const RenderStages& stages, const RenderOptions& options, const PieceOptions& piece,
                RenderSummary& summary) {
  if (Interrupt::requested()) return kExitInterrupted;
  finishFrames(stages, summary.totals);
  stages.outputs.finish({}, {});
  writeReport(reportOf(stages, options, piece.piece, summary.totals), piece.report);
  return kExitDone;
}

void checkStrict(const Telling* telling, const std::string& pluginPath) {
  if (telling && telling->tally()) return;
  throw UserError(pluginPath + ": --strict needs " + kPluginClass +
                  ": what another plug-in drops is not known");
}

/// Opens the outputs. Null when the user has asked to stop while a pipe was waited for.
std::unique_ptr<RenderOutputs> openOutputs(const RenderOptions& options,
                                           const std::optional<PicturePlan>& pictures, RenderInputs& inputs,
                                           const VideoPiece* piece) {
  try {
    return std::make_unique<RenderOutputs>(options, pictures, inputs, piece);
  } catch (const UserError&) {
    if (!Interrupt::requested()) throw;
  }
  return nullptr;
}

/// What producers sent before the piece, for look-back and because their order is that of their first lines.
/// The last piece gives the hints on all lines.
void passEarlierLines(RenderInputs& inputs, ProducerInputs& producers, Telling* telling) {
  inputs.passEarlierLines([&](uint64_t frame, std::vector<DetectionLine> lines) {
    if (telling) {
      for (const DetectionLine& line : lines) telling->look(line);
    }
    producers.advance(frame, std::move(lines));
  });
}

/// Draws everything, or a piece.
int render(const RenderOptions& options, const PieceOptions* part) {
  const VideoPiece* const piece = part ? &part->piece : nullptr;
  const Interrupt interrupt;
  const std::optional<PicturePlan> pictures = planPictures(options);
  checkOptions(options, pictures);
  const std::unique_ptr<RenderInputs> inputs = openInputs(options, pictures, piece);
  if (!inputs) return reportEarlyInterrupt();
  registerPayloads(options.debug);
  const FrameReader& reader = inputs->reader();

  // Declared before the plug-in, because the plug-in's backend must outlive it.
  FrameRenderer renderer(reader.format().width, reader.format().height);
  const std::string pluginPath = options.plugin.path();
  PluginHost host(pluginPath);
  setUp(host.plugin(), renderer, options);

  ProducerInputs producers(options.lookback);
  std::optional<Telling> telling;
  if (!options.noExplain) makeTelling(telling, options, renderer, producers, host.plugin(), reader.format());
  if (options.strict) checkStrict(telling ? &*telling : nullptr, pluginPath);
  if (piece) passEarlierLines(*inputs, producers, telling ? &*telling : nullptr);

  std::optional<RunReport> report;
  if (options.report) report.emplace(producers, telling ? &*telling : nullptr);

  const std::unique_ptr<RenderOutputs> outputs = openOutputs(options, pictures, *inputs, piece);
  if (!outputs) return reportEarlyInterrupt();
  if (!pictures && !piece) noteLosses(inputs->frames().reader(), options.output);
  const RenderStages stages{
      *inputs, producers, renderer, host.plugin(), telling ? &*telling : nullptr, report ? &*report : nullptr,
      *outputs};
  RenderSummary summary = renderWithProgress(stages, options, interrupt);
  return part ? finishPiece(stages, options, *part, summary) : finish(stages, options, pluginPath, summary);
}

}  // namespace

int render(const RenderOptions& options) {
  return render(options, nullptr);
}

int renderPiece(const RenderOptions& options, const PieceOptions& piece) {
  RenderOptions own = options;
  own.contactSheet.reset();
  own.summaryJson.reset();
  own.report.reset();
  return render(own, &piece);
}

}  // namespace segmask
