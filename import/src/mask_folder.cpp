#include "src/mask_folder.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <tuple>
#include <utility>

#include "io/UserError.h"
#include "io/file_names.h"
#include "io/reading.h"
#include "io/utf8.h"
#include "src/picture_names.h"

namespace segmask {
namespace {

using NamedFile = std::pair<std::string, MaskFileName>;  ///< its path and what that says

std::vector<NamedFile> namedFiles(const std::string& folder, const NamePattern& pattern) {
  std::vector<NamedFile> files;
  for (const std::string& name : fileNames(folder)) {
    if (lowerCaseEnding(name) != ".png") continue;
    const std::string path = (std::filesystem::path(folder) / name).string();
    const std::optional<MaskFileName> fields = pattern.match(name);
    if (!fields) throw UserError(path + ": the name does not fit the pattern (--pattern)");
    if (!isUtf8(fields->category)) {
      throw UserError(path + ": the category in the name is not UTF-8, as the legend needs it");
    }
    files.emplace_back(path, *fields);
  }
  if (files.empty()) throw UserError(folder + ": holds no .png file");
  return files;
}

std::string stemOf(const std::string& picture) {
  return std::filesystem::path(picture).stem().string();
}

/// The frames' numbers by {image}.
std::map<std::string, uint64_t> framesByImage(const std::vector<NamedFile>& files,
                                              const std::vector<std::string>& pictures) {
  std::map<std::string, uint64_t> frames;
  for (std::size_t i = 0; i < pictures.size(); ++i) {
    if (frames.emplace(stemOf(pictures[i]), i).second) continue;
    throw UserError(pictures[i] + ": another picture has this name with another ending");
  }
  if (!pictures.empty()) return frames;
  for (const NamedFile& file : files) frames.emplace(file.second.image, 0);
  uint64_t next = 0;
  for (auto& [image, frame] : frames) frame = next++;
  return frames;
}

/// Throws UserError when two files would give one frame two detections of one number. Each category may count
/// from the start.
void checkNoneIsThereTwice(const std::vector<MaskFile>& files, const NamePattern& pattern) {
  std::map<std::tuple<uint64_t, uint64_t, std::string>, std::string> seen;
  for (const MaskFile& file : files) {
    const auto [first, isNew] = seen.emplace(std::tuple(file.frame, file.instance, file.category), file.path);
    if (isNew) continue;
    throw UserError(file.path + ": has the same frame" + (pattern.hasInstance() ? " and instance" : "") +
                    " as " + first->second);
  }
}

}  // namespace

MaskFolder readMaskFolder(const std::string& folder, const NamePattern& pattern,
                          const std::optional<std::string>& images) {
  const std::vector<NamedFile> files = namedFiles(folder, pattern);
  MaskFolder result;
  if (images) result.pictures = pictureNames(*images);
  std::map<std::string, uint64_t> byImage;
  if (!pattern.hasFrame()) byImage = framesByImage(files, result.pictures);
  for (const auto& [path, name] : files) {
    const auto found = byImage.find(name.image);
    const bool isKnown = pattern.hasFrame() || found != byImage.end();
    const uint64_t frame = pattern.hasFrame() ? std::stoull(name.frame) : isKnown ? found->second : 0;
    if (!isKnown || (images && frame >= result.pictures.size())) {
      throw UserError(path + ": its frame has no picture in " + *images);
    }
    result.files.push_back(
        {path, frame, name.instance.empty() ? 0 : std::stoull(name.instance), name.category});
  }
  std::stable_sort(result.files.begin(), result.files.end(), [](const MaskFile& a, const MaskFile& b) {
    return std::tie(a.frame, a.instance) < std::tie(b.frame, b.instance);
  });
  checkNoneIsThereTwice(result.files, pattern);
  return result;
}

}  // namespace segmask
