#include "video/PngPattern.h"

#include <algorithm>
#include <filesystem>

#include "io/UserError.h"

namespace segmask {
namespace {

constexpr std::size_t kMostWidthDigits = 2;

bool isDigit(char byte) {
  return byte >= '0' && byte <= '9';
}

}  // namespace

PngPattern::PngPattern(const std::string& path) {
  const std::string name = std::filesystem::path(path).filename().string();
  std::size_t conversions = 0;
  bool valid = true;
  for (std::size_t i = 0; i < name.size(); ++i) {
    std::string& literal = conversions == 0 ? before_ : after_;
    if (name[i] != '%') {
      literal += name[i];
    } else if (name.compare(i, 2, "%%") == 0) {
      literal += name[++i];
    } else {
      const std::size_t digits = i + 1;
      i = digits;
      while (i < name.size() && isDigit(name[i])) ++i;
      valid = valid && i < name.size() && (name[i] == 'd' || name[i] == 'i');
      const std::size_t count = i - digits;
      valid = valid && count <= kMostWidthDigits;
      if (valid && count > 0) {
        width_ = std::stoul(name.substr(digits, count));
        padding_ = name[digits] == '0' ? '0' : ' ';
      }
      ++conversions;
    }
  }
  if (!valid || conversions != 1) {
    throw UserError(
        path + ": a PNG sequence needs exactly one integer conversion in its name, such as name_%04d.png");
  }
}

std::string PngPattern::fileName(uint64_t frame) const {
  std::string number = std::to_string(frame);
  if (number.size() < width_) number.insert(0, width_ - number.size(), padding_);
  return before_ + number + after_;
}

bool PngPattern::matches(const std::string& name) const {
  if (name.size() <= before_.size() + after_.size()) return false;
  const std::string number = name.substr(before_.size(), name.size() - before_.size() - after_.size());
  const std::size_t digits = std::min(number.find_first_not_of(' '), number.size());
  constexpr std::size_t kMostDigits = 19;
  const bool isNumber =
      digits < number.size() && number.size() - digits <= kMostDigits &&
      std::all_of(number.begin() + static_cast<std::ptrdiff_t>(digits), number.end(), isDigit);
  return isNumber && fileName(std::stoull(number.substr(digits))) == name;
}

}  // namespace segmask
