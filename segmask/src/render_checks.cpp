#include <filesystem>
#include <utility>
#include <vector>

#include "core/SwJsonDocument.h"
#include "io/UserError.h"
#include "io/file_names.h"
#include "src/commands.h"
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
  checkRoles(options);
  if (options.config) checkConfig(*options.config);
}

}  // namespace segmask
