#include "host/PictureDetections.h"

#include <unordered_map>
#include <utility>

namespace segmask {
namespace {

std::string withoutFolders(const std::string& name) {
  const std::size_t slash = name.rfind('/');
  return slash == std::string::npos ? name : name.substr(slash + 1);
}

}  // namespace

PictureDetections::PictureDetections(const std::string& path, const std::vector<std::string>& pictures)
    : reader_(path, DetectionLineReader::Images::Named) {
  std::unordered_map<std::string, uint64_t> numbers;
  for (const std::string& name : pictures) numbers.emplace(name, numbers.size());
  while (std::optional<RawDetectionLine> line = reader_.next()) {
    heldNoLine_ = false;
    if (!line->image.empty()) {
      const auto number = numbers.find(withoutFolders(line->image));
      if (number == numbers.end())
        reader_.refuse(line->lineNumber, "there is no picture \"" + line->image + "\"");
      line->frame = number->second;
    }
    if (line->frame < pictures.size()) {
      lines_[line->frame].push_back(std::move(*line));
    } else if (!rest_) {
      rest_ = std::move(line);
    }
  }
}

std::vector<DetectionLine> PictureDetections::take(uint64_t picture, render_base::FrameSize size) {
  std::vector<DetectionLine> lines;
  auto kept = lines_.extract(picture);
  if (!kept) return lines;
  for (RawDetectionLine& line : kept.mapped()) lines.push_back(reader_.expand(std::move(line), size));
  return lines;
}

}  // namespace segmask
