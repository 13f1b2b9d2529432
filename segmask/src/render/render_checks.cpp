#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <utility>
#include <vector>

#include "core/SwJsonDocument.h"
#include "host/nearest_name.h"
#include "io/OutputPlace.h"
#include "io/UserError.h"
#include "io/file_names.h"
#include "src/commands.h"
#include "src/render/FrameSource.h"
#include "src/render/PicturePlan.h"
#include "video/FrameWriter.h"
#include "video/PngPattern.h"

namespace fs = std::filesystem;

namespace segmask {
namespace {

bool isInFolder(const std::string& file, const std::string& folder) {
  return isSamePath(fs::path(file).parent_path() / ".", fs::path(folder) / ".");
}

std::string nameOf(const std::string& file) {
  return fs::path(file).filename().string();
}

/// The files that the frames or pictures of a run become, and the pictures that they are made of.
class OutputFiles {
 public:
  OutputFiles(const std::string& output, const std::optional<PicturePlan>& pictures)
      : output_(output), pictures_(pictures) {
    if (!pictures_ && outputKindOf(output) == OutputKind::PngSequence) pattern_.emplace(output);
  }

  /// Whether writing them would replace `file`.
  bool replace(const std::string& file) const {
    if (pictures_) return isInFolder(file, pictures_->outputFolder) && isIn(pictures_->outputs, nameOf(file));
    return wouldReplace(output_, file);
  }

  /// Whether `file` is one of the pictures that are read.
  bool read(const std::string& file) const {
    return pictures_ && isInFolder(file, fs::path(pictures_->inputs.front()).parent_path().string()) &&
           isIn(pictures_->names, nameOf(file));
  }

  /// One that is there already.
  std::optional<std::string> existing() const {
    if (!pictures_ && !pattern_)
      return isStream(output_) || !exists(output_) ? std::nullopt : std::optional(output_);
    const std::string folder = pictures_ ? pictures_->outputFolder : parentOf(output_);
    std::error_code error;  // of a folder that is missing: nothing is in it
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
      const std::string name = nameOf(entry->path().string());
      if (pictures_ ? isIn(pictures_->outputs, name) : pattern_->matches(name))
        return (fs::path(folder) / name).string();
    }
    return std::nullopt;
  }

  static bool exists(const std::string& path) {
    std::error_code ignored;
    return fs::symlink_status(path, ignored).type() != fs::file_type::not_found;
  }

 private:
  static std::string parentOf(const std::string& path) {
    const fs::path parent = fs::path(path).parent_path();
    return parent.empty() ? "." : parent.string();
  }

  static bool isIn(const std::vector<std::string>& names, const std::string& name) {
    return std::find(names.begin(), names.end(), name) != names.end();
  }

  const std::string& output_;
  const std::optional<PicturePlan>& pictures_;
  std::optional<PngPattern> pattern_;
};

using Role = std::pair<const char*, const std::string*>;  ///< an option and its path

void checkRoles(const RenderOptions& options, const OutputFiles& outputs) {
  const std::vector<Role> inputs{{"--input", &options.input}, {"--detections", &options.detections}};
  std::vector<Role> extras;  // outputs that are one file
  if (options.contactSheet) extras.emplace_back("--contact-sheet", &*options.contactSheet);
  if (options.summaryJson && options.summaryJson != kStandardStream) {
    extras.emplace_back("--summary-json", &*options.summaryJson);
  }
  if (options.report) extras.emplace_back("--report", &*options.report);
  for (const auto& [option, path] : inputs) {
    if (outputs.replace(*path)) {
      throw UserError(options.output + ": --output would replace " + option);
    }
    for (const auto& [extra, file] : extras) {
      if (isSameFile(*file, *path) || isSamePath(*file, *path)) {
        throw UserError(*file + ": " + extra + " would replace " + option);
      }
    }
  }
  for (const auto& [extra, file] : extras) {
    if (outputs.replace(*file)) throw UserError(*file + ": " + extra + " and --output are the same file");
  }
  for (const auto& [extra, file] : extras) {
    if (outputs.read(*file)) throw UserError(*file + ": " + extra + " would replace --input");
  }
  for (auto extra = extras.begin(); extra != extras.end(); ++extra) {
    const auto same = std::find_if(extras.begin(), extra, [&extra](const Role& earlier) {
      return isSamePath(*earlier.second, *extra->second);
    });
    if (same == extra) continue;
    throw UserError(*extra->second + ": " + extra->first + " and " + same->first + " are the same file");
  }
}

bool isEncoded(OutputKind kind) {
  return kind == OutputKind::Mp4 || kind == OutputKind::Mkv;
}

/// Throws UserError for values that the encoder would refuse in its own words, or that have no effect.
void checkEncoding(const RenderOptions& options, bool pictures) {
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
  const EncoderOptions usual;
  const bool isAsked = crf != usual.crf || preset != usual.preset;
  if (isAsked && (pictures || !isEncoded(outputKindOf(options.output)))) {
    throw UserError(options.output + ": --crf and --preset are for outputs in .mp4 and .mkv");
  }
}

/// Throws UserError for standard streams in two roles.
void checkStreams(const RenderOptions& options) {
  if (options.input == kStandardStream && options.detections == kStandardStream) {
    throw UserError("-: --input and --detections cannot both be standard input");
  }
  if (options.output == kStandardStream && options.summaryJson == kStandardStream) {
    throw UserError("-: --output and --summary-json cannot both be standard output");
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
  const std::string wanted = R"( (it takes the object itself, like '{"alpha": 0.5}'))";
  if (!document.loadFromJson(config, error)) throw UserError("--config: not JSON: " + error.str() + wanted);
  if (!document.root().isObject()) throw UserError("--config: not a JSON object" + wanted);
}

seg_mask::DecisionSettings decisionSettings(const std::optional<std::string>& config) {
  const std::optional<SwJsonObject> configuration =
      config ? render_base::parseConfiguration(*config) : std::nullopt;
  return configuration ? seg_mask::readDecisionSettings(*configuration, {}) : seg_mask::DecisionSettings();
}

void checkNothingIsThere(const RenderOptions& options, const std::optional<PicturePlan>& pictures) {
  std::optional<std::string> existing = OutputFiles(options.output, pictures).existing();
  for (const std::optional<std::string>& file : {options.contactSheet, options.summaryJson, options.report}) {
    if (file && file != kStandardStream && OutputFiles::exists(*file)) existing = file;
  }
  if (existing) throw FileExists(*existing);
}

void checkOptions(const RenderOptions& options, const std::optional<PicturePlan>& pictures) {
  const OutputFiles outputs(options.output, pictures);
  if (options.contactSheet && lowerCaseEnding(*options.contactSheet) != ".png") {
    throw UserError(*options.contactSheet + ": a contact sheet is a .png file");
  }
  if (options.report && lowerCaseEnding(*options.report) != ".html") {
    throw UserError(*options.report + ": a report is an .html file");
  }
  checkEncoding(options, pictures.has_value());
  if (options.start) static_cast<void>(parseStartPoint(*options.start));
  checkStreams(options);
  checkRoles(options, outputs);
  if (pictures && isSamePath(options.input, pictures->outputFolder)) {
    throw UserError(options.output + ": --output is the folder of the --input");
  }
  if (options.neverOverwrite) checkNothingIsThere(options, pictures);
  if (options.config) checkConfig(*options.config);
  if (!pictures) static_cast<void>(rawFrameSize(options.input, options.size));
}

}  // namespace segmask
