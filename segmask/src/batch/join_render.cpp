#include <memory>

#include "io/OutputFile.h"
#include "io/UserError.h"
#include "src/batch/PieceReport.h"
#include "src/commands.h"
#include "src/messages.h"
#include "src/render/RenderInputs.h"
#include "video/pieces.h"

namespace segmask {
namespace {

/// What the input shows while its streams are copied.
struct Shown {
  uint64_t damagedCopies = 0;
  uint64_t timeJumps = 0;
};

Shown join(const RenderOptions& options, const PieceReport& first, bool isWholeInput,
           const std::vector<std::string>& files) {
  const std::unique_ptr<FrameReader> reader = openFrameReader(options.input, readOptionsOf(options));
  if (options.start && reader->sideStreams()) {
    reader->sideStreams()->beginAt(first.beginning, reader->format().timeBase);
  }
  joinPieces(files, options.output, {*reader, first.first, isWholeInput},
             {options.encoder, reader->sideStreams()});
  return {reader->damage().copied, reader->timeJumps()};
}

}  // namespace

int joinRender(const RenderOptions& options, const std::vector<PieceOptions>& pieces,
               const std::vector<std::string>& files) {
  RenderTotals totals;
  PieceReport last;
  for (const PieceOptions& piece : pieces) {
    last = readReport(piece.report);
    totals.add(last.totals);
  }
  if (totals.frames == 0) throw UserError(options.input + ": holds no frame");
  const Shown shown = join(options, readReport(pieces.front().report), last.reachedEnd, files);
  totals.damage.copied = shown.damagedCopies;
  if (options.summaryJson) {
    OutputFile file(*options.summaryJson, *options.summaryJson);
    file.write(summaryJson(totals, options.plugin.path()) + "\n");
    file.close();
  }
  for (const std::string& warning :
       {damageWarning(options.input, totals.damage), timeJumpWarning(options.input, shown.timeJumps)}) {
    if (!warning.empty()) warn(warning);
  }
  for (const std::string& warning : last.warnings) warn(warning);
  if (showsNothing(totals)) warn(kNothingVisible);
  return options.strict && (last.hasRest || lacksAny(totals)) ? kExitDropped : kExitDone;
}

}  // namespace segmask
