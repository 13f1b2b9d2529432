#include "src/coco_frames.h"

#include <charconv>
#include <filesystem>
#include <unordered_map>
#include <utility>

#include "io/UserError.h"
#include "src/picture_names.h"

namespace segmask {
namespace {

constexpr std::size_t kMostNamed = 5;

/// By what images and pictures are matched: the file's name, or the number in the name of a result's picture.
std::string keyOf(const CocoImage& image, bool isResult) {
  return isResult ? std::to_string(image.id) : image.name;
}

std::string keyOf(const std::string& picture, bool isResult) {
  if (!isResult) return picture;
  const std::string stem = std::filesystem::path(picture).stem().string();
  int64_t number = 0;
  const auto [end, error] = std::from_chars(stem.data(), stem.data() + stem.size(), number);
  return error == std::errc() && end == stem.data() + stem.size() ? std::to_string(number) : picture;
}

using Images = std::unordered_map<std::string, const CocoImage*>;
using Twins = std::pair<const CocoImage*, const CocoImage*>;

/// The images, without those that would be the same picture as one before them; `twins` gets the first two
/// that are.
Images imagesByKey(const CocoFile& file, std::optional<Twins>& twins) {
  Images images;
  for (const CocoImage& image : file.images()) {
    const auto [first, isNew] = images.emplace(keyOf(image, file.isResultList()), &image);
    if (!isNew && !twins) twins = Twins{first->second, &image};
  }
  return images;
}

void refuseTwins(const CocoFile& file, const std::optional<Twins>& twins) {
  if (!twins) return;
  throw UserError(file.name() + ": images: those with the \"id\" " + std::to_string(twins->first->id) +
                  " and " + std::to_string(twins->second->id) + " are both " +
                  keyOf(*twins->first, file.isResultList()));
}

/// Refuses images that are left when each picture has got its own.
void refuseMissing(const CocoFile& file, const Images& left, const std::string& folder) {
  if (left.empty()) return;
  std::string names;
  std::size_t named = 0;
  for (const CocoImage& image : file.images()) {
    const std::string key = keyOf(image, file.isResultList());
    if (left.count(key) == 0 || named == kMostNamed) continue;
    names += (named++ == 0 ? "" : ", ") + key;
  }
  if (left.size() > named) names += " and " + std::to_string(left.size() - named) + " more";
  throw UserError(folder + ": pictures of " + file.name() + " are missing: " + names);
}

}  // namespace

std::vector<CocoFrame> framesOf(const CocoFile& file, const std::optional<std::string>& folder) {
  std::vector<CocoFrame> frames;
  std::optional<Twins> twins;
  Images left = imagesByKey(file, twins);
  if (!folder) {
    // Names that several images have would lead a line to another's picture. Numbers do not.
    for (const CocoImage& image : file.images()) frames.push_back({&image, twins ? "" : image.name});
    return frames;
  }
  refuseTwins(file, twins);
  for (std::string& picture : pictureNames(*folder)) {
    const auto found = left.find(keyOf(picture, file.isResultList()));
    frames.push_back({found == left.end() ? nullptr : found->second, std::move(picture)});
    if (found != left.end()) left.erase(found);
  }
  refuseMissing(file, left, *folder);
  return frames;
}

}  // namespace segmask
