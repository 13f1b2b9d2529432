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

/// Returns the packets of side streams that are damaged.
uint64_t join(const RenderOptions& options, const PieceReport& first, bool isWholeInput,
              const std::vector<std::string>& files) {
  const std::unique_ptr<FrameReader> reader = openFrameReader(options.input, readOptionsOf(options));
  if (options.start && reader->sideStreams()) {
    reader->sideStreams()->beginAt(first.beginning, reader->format().timeBase);
  }
  joinPieces(files, options.output, {*reader, first.first, isWholeInput},
             {options.encoder, reader->sideStreams()});
  return reader->damage().copied;
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
  totals.damage.copied = join(options, readReport(pieces.front().report), last.reachedEnd, files);
  if (options.summaryJson) {
    OutputFile file(*options.summaryJson, *options.summaryJson);
    file.write(summaryJson(totals, options.plugin.path()) + "\n");
    file.close();
  }
  const std::string damage = damageWarning(options.input, totals.damage);
  if (!damage.empty()) warn(damage);
  for (const std::string& warning : last.warnings) warn(warning);
  if (showsNothing(totals)) warn(kNothingVisible);
  return options.strict && (last.hasRest || lacksAny(totals)) ? kExitDropped : kExitDone;
}

}  // namespace segmask
