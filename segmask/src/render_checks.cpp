#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <utility>
#include <vector>

#include "core/SwJsonDocument.h"
#include "io/OutputPlace.h"
#include "io/UserError.h"
#include "io/file_names.h"
#include "src/commands.h"
#include "src/nearest_name.h"
#include "video/FrameWriter.h"
#include "video/PngPattern.h"

namespace fs = std::filesystem;

namespace segmask {
namespace {

bool isSamePath(const std::string& a, const std::string& b) {
  std::error_code errorA;
  std::error_code errorB;
  const fs::path first = fs::weakly_canonical(a, errorA);
  const fs::path second = fs::weakly_canonical(b, errorB);
  return !errorA && !errorB && first == second;
}

/// Whether writing `output` would replace `input`.
bool replaces(const std::string& output, const std::string& input) {
  if (output == kStandardStream) return false;
  if (isSameFile(output, input) || isSamePath(output, input)) return true;
  if (outputKindOf(output) != OutputKind::PngSequence) return false;
  const fs::path file(input);
  const bool sameFolder = isSamePath(fs::path(output).parent_path() / ".", file.parent_path() / ".");
  return sameFolder && PngPattern(output).matches(file.filename().string());
}

using Role = std::pair<const char*, const std::string*>;  ///< an option and its path

void checkRoles(const RenderOptions& options) {
  const std::vector<Role> inputs{{"--input", &options.input}, {"--detections", &options.detections}};
  std::vector<Role> extras;  // outputs that are one file
  if (options.contactSheet) extras.emplace_back("--contact-sheet", &*options.contactSheet);
  if (options.summaryJson) extras.emplace_back("--summary-json", &*options.summaryJson);
  for (const auto& [option, path] : inputs) {
    if (replaces(options.output, *path)) {
      throw UserError(options.output + ": --output would replace " + option);
    }
    for (const auto& [extra, file] : extras) {
      if (isSameFile(*file, *path) || isSamePath(*file, *path)) {
        throw UserError(*file + ": " + extra + " would replace " + option);
      }
    }
  }
  for (const auto& [extra, file] : extras) {
    if (replaces(options.output, *file))
      throw UserError(*file + ": " + extra + " and --output are the same file");
  }
  if (extras.size() == 2 && isSamePath(*extras[0].second, *extras[1].second)) {
    throw UserError(*extras[1].second + ": --summary-json and --contact-sheet are the same file");
  }
}

/// Throws UserError when anything would be overwritten.
void checkNothingIsThere(const RenderOptions& options) {
  const auto refuse = [](const std::string& path) {
    throw UserError(path + ": exists, and -n never overwrites");
  };
  std::vector<std::string> files;
  if (options.contactSheet) files.push_back(*options.contactSheet);
  if (options.summaryJson) files.push_back(*options.summaryJson);
  if (outputKindOf(options.output) != OutputKind::PngSequence && !isStream(options.output)) {
    files.push_back(options.output);
  }
  for (const std::string& file : files) {
    if (fs::symlink_status(file).type() != fs::file_type::not_found) refuse(file);
  }
  if (outputKindOf(options.output) != OutputKind::PngSequence) return;
  const PngPattern pattern(options.output);
  std::error_code error;  // of a folder that is missing, which is the writer's to report
  for (fs::directory_iterator entry(fs::path(options.output).parent_path() / ".", error), end;
       !error && entry != end; entry.increment(error)) {
    if (pattern.matches(entry->path().filename().string())) refuse(entry->path().lexically_normal().string());
  }
}

/// Throws UserError for values that the encoder would refuse in its own words, or that have no effect.
void checkEncoding(const RenderOptions& options) {
  constexpr double kLargestCrf = 51;
  const std::string& crf = options.encoder.crf;
  const bool isNumber =
      !crf.empty() && crf.size() < 8 && crf.find_first_not_of("0123456789.") == std::string::npos &&
      crf.find_first_of("0123456789") != std::string::npos && std::count(crf.begin(), crf.end(), '.') <= 1;
  if (!isNumber || std::stod(crf) > kLargestCrf)
    throw UserError("--crf: '" + crf + "' is not a number from 0 to 51");
  const std::vector<std::string> presets{"ultrafast", "superfast", "veryfast", "faster",   "fast",
                                         "medium",    "slow",      "slower",   "veryslow", "placebo"};
  const std::string& preset = options.encoder.preset;
  if (std::find(presets.begin(), presets.end(), preset) == presets.end()) {
    const std::string nearest = nearestName(preset, presets);
    std::string all = presets.front();
    for (std::size_t i = 1; i < presets.size(); ++i) all += ", " + presets[i];
    throw UserError("--preset: there is no '" + preset + "'" +
                    (nearest.empty() ? ", only " + all : "; did you mean '" + nearest + "'?"));
  }
}

/// Throws UserError for standard streams in two roles.
void checkStreams(const RenderOptions& options) {
  if (options.input == kStandardStream && options.detections == kStandardStream) {
    throw UserError("-: --input and --detections cannot both be standard input");
  }
  if (options.input != kStandardStream) return;
  struct stat input {};
  struct stat output {};
  const bool known = fstat(STDIN_FILENO, &input) == 0 && stat(options.output.c_str(), &output) == 0;
  if (known && input.st_dev == output.st_dev && input.st_ino == output.st_ino) {
    throw UserError(options.output + ": --output would replace --input");
  }
}

}  // namespace

void checkConfig(const std::string& config) {
  SwJsonDocument document;
  SwString error;
  if (!document.loadFromJson(config, error)) throw UserError("--config: not JSON: " + error.str());
  if (!document.root().isObject()) throw UserError("--config: not a JSON object");
}

seg_mask::DecisionSettings decisionSettings(const std::optional<std::string>& config) {
  const std::optional<SwJsonObject> configuration =
      config ? render_base::parseConfiguration(*config) : std::nullopt;
  return configuration ? seg_mask::readDecisionSettings(*configuration, {}) : seg_mask::DecisionSettings();
}

void checkOptions(const RenderOptions& options) {
  outputKindOf(options.output);
  if (options.contactSheet && lowerCaseEnding(*options.contactSheet) != ".png") {
    throw UserError(*options.contactSheet + ": a contact sheet is a .png file");
  }
  checkEncoding(options);
  checkStreams(options);
  checkRoles(options);
  if (options.neverOverwrite) checkNothingIsThere(options);
  if (options.config) checkConfig(*options.config);
}

}  // namespace segmask
