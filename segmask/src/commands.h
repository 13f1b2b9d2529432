#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "detection/decision_settings.h"
#include "host/PluginChoice.h"
#include "src/batch/VideoPiece.h"
#include "video/FrameWriter.h"

namespace segmask {

/// The program's exit codes. Scripts rely on these numbers.
constexpr int kExitDone = 0;
constexpr int kExitSomeFailed = 1;     ///< of a batch: some jobs failed, the others are done
constexpr int kExitError = 2;          ///< an error in the command line, the input, the plug-in or the output
constexpr int kExitDropped = 3;        ///< all was written, but with --strict not all was drawn
constexpr int kExitClosedPipe = 141;   ///< nobody reads the output any more; what a shell reports of SIGPIPE
constexpr int kExitInterrupted = 130;  ///< SIGINT or SIGTERM; what was done so far is kept

struct PicturePlan;

/// The options of `segmask render`, as they stand on the command line.
struct RenderOptions {
  std::string input;
  std::optional<std::string> size;
  std::string detections;
  std::string output;
  bool neverOverwrite = false;
  std::optional<std::string> start;  ///< see parseStartPoint
  std::optional<uint64_t> frames;    ///< the most that are drawn
  bool keepRotation = false;
  bool noAudio = false;
  EncoderOptions encoder;
  std::optional<std::string> config;
  PluginChoice plugin;
  std::optional<std::string> contactSheet;
  uint64_t lookback = 0;
  bool debug = false;
  bool noProgress = false;
  bool noExplain = false;
  bool strict = false;
  std::optional<std::string> summaryJson;
  std::optional<std::string> report;
  std::vector<std::string> commandLine;  ///< all words of it, for the report
};

/// A piece of what `segmask render` would draw, in the place of all of it: the output is one that
/// joinPieces() takes, and `report` gets its PieceReport.
struct PieceOptions {
  VideoPiece piece;
  std::string report;
};

/// Throws UserError for errors in the options of `segmask render` that show before any file is opened: an
/// impossible output, one file in two roles, a configuration that a plug-in would ignore silently.
void checkOptions(const RenderOptions& options, const std::optional<PicturePlan>& pictures);

/// Throws FileExists when an output would replace anything.
void checkNothingIsThere(const RenderOptions& options, const std::optional<PicturePlan>& pictures);

/// Throws UserError for a configuration that a plug-in would ignore silently as a whole.
void checkConfig(const std::string& config);

/// The deciding settings that a plug-in has after this configuration, which may be missing.
seg_mask::DecisionSettings decisionSettings(const std::optional<std::string>& config);

/// Draws a video's detections into it and prints a summary. Returns the exit code. Throws UserError; the
/// outputs have not been created or replaced then.
int render(const RenderOptions& options);

/// The same for a piece, which replaces what `options` say of frames, of the contact sheet and of the
/// summary. Prints nothing. Throws NotAsIndexed when it has to be drawn without an index.
int renderPiece(const RenderOptions& options, const PieceOptions& piece);

/// Makes the output of its pieces, which stand in `files` in their order, and the summary as render() does.
/// Prints the warnings of the whole run, and returns its exit code. Throws UserError.
int joinRender(const RenderOptions& options, const std::vector<PieceOptions>& pieces,
               const std::vector<std::string>& files);

/// The options of `segmask explain`.
struct ExplainOptions {
  std::string detections;
  std::optional<std::string> size;    ///< of all frames
  std::optional<std::string> images;  ///< in its place, the folder of the pictures that the lines are for
  std::optional<uint64_t> frame;      ///< the only one to explain
  std::optional<std::string> config;
  bool json = false;
};

/// Prints a line for each detection of a file: whether a plug-in draws it, in which colour and how many
/// pixels, or the first rule that drops it. Returns the exit code, which does not depend on what is dropped.
/// Throws UserError.
int explain(const ExplainOptions& options);

/// The options of `segmask batch`.
struct BatchOptions {
  std::string list;
  std::optional<uint64_t> processes;  ///< at a time
  std::optional<uint64_t> split;      ///< videos with more frames are drawn in pieces of so many
  uint64_t retries = 2;               ///< of a process that was killed or crashed
  bool redo = false;
  bool check = false;  ///< the list alone is checked
  bool noProgress = false;
  std::optional<std::string> results;
};

/// Renders the jobs of a list, each in a process of its own, and writes a line of result for each. Returns
/// the exit code. Throws UserError when anything is wrong with list or options, before a job is started, and
/// when the results cannot be written. To be called while the process has one thread.
int batch(const BatchOptions& options);

/// Prints the classes of a plug-in library and its plug-in's name, payload types and configuration. Returns
/// the exit code. Throws UserError.
int inspect(const PluginChoice& choice);

}  // namespace segmask
