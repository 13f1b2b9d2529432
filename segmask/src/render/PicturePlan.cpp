#include "src/render/PicturePlan.h"

#include <filesystem>
#include <map>

#include "io/FileDescriptor.h"
#include "io/UserError.h"
#include "io/file_names.h"
#include "src/render/FrameSource.h"
#include "video/pictures.h"

namespace fs = std::filesystem;

namespace segmask {
namespace {

bool isFolder(const std::string& path) {
  std::error_code ignored;
  return fs::is_directory(path, ignored);
}

/// Whether pictures go to it as a folder: one that is there, or a name that no file has here.
bool namesFolder(const std::string& output) {
  if (output == kStandardStream) return false;
  return isFolder(output) || output.back() == '/' || lowerCaseEnding(output).empty();
}

/// A pattern such as name_%04d.png is for the frames of a video.
bool namesPicture(const std::string& output) {
  const std::string name = fs::path(output).filename().string();
  return lowerCaseEnding(name) == ".png" && name.find('%') == std::string::npos;
}

void nameOutputs(const RenderOptions& options, PicturePlan& plan) {
  if (!namesFolder(options.output)) {
    const fs::path path(options.output);
    plan.outputFolder = path.has_parent_path() ? path.parent_path().string() : ".";
    plan.outputs = {path.filename().string()};
    return;
  }
  plan.outputFolder = (fs::path(options.output) / "").parent_path().string();
  std::map<std::string, std::string> inputOf;
  for (const std::string& name : plan.names) {
    plan.outputs.push_back(fs::path(name).stem().string() + ".png");
    const auto [other, isNew] = inputOf.emplace(plan.outputs.back(), name);
    if (!isNew) {
      throw UserError(options.input + ": " + other->second + " and " + name + " would both become " +
                      plan.outputs.back());
    }
  }
}

void refuseOptionsOfVideos(const RenderOptions& options) {
  const auto refuse = [](const std::string& option, const std::string& why) {
    throw UserError(option + " is for videos: " + why);
  };
  if (options.size)
    throw UserError(options.input + ": --size is for raw .nv12 input; pictures say their own");
  if (options.lookback > 0) refuse("--lookback", "a picture has nothing to do with the one before it");
  if (options.contactSheet) refuse("--contact-sheet", "pictures may differ in size");
  if (options.start && parseStartPoint(*options.start).seconds) {
    refuse("--start with a time", "pictures have numbers alone");
  }
}

}  // namespace

std::optional<PicturePlan> planPictures(const RenderOptions& options) {
  const bool fromFolder = isFolder(options.input);
  const bool toPictures = namesFolder(options.output) || namesPicture(options.output);
  if (!fromFolder && !(isPictureName(options.input) && toPictures)) return std::nullopt;
  if (!toPictures) {
    throw UserError(options.input + ": is a folder, and its pictures become pictures; " + options.output +
                    " is no folder");
  }
  PicturePlan plan;
  plan.inputs = fromFolder ? picturesOf(options.input) : std::vector<std::string>{options.input};
  for (const std::string& path : plan.inputs) plan.names.push_back(fs::path(path).filename().string());
  if (!namesFolder(options.output) && plan.inputs.size() > 1) {
    throw UserError(options.output + ": is one picture, and " + options.input + " holds " +
                    std::to_string(plan.inputs.size()) + "; --output is a folder");
  }
  nameOutputs(options, plan);
  refuseOptionsOfVideos(options);
  return plan;
}

}  // namespace segmask
