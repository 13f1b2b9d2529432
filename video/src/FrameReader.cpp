#include "video/FrameReader.h"

#include <charconv>

#include "io/FileDescriptor.h"
#include "io/UserError.h"
#include "io/file_names.h"
#include "src/LibavReader.h"
#include "src/RawNv12Reader.h"

namespace segmask {
namespace {

constexpr int kLargestDimension = 65535;

/// Parses all of [first, last) as a dimension; 0 when it is not one.
int parseDimension(const char* first, const char* last) {
  int dimension = 0;
  const auto [end, error] = std::from_chars(first, last, dimension);
  const bool valid = error == std::errc() && end == last && dimension >= 1 && dimension <= kLargestDimension;
  return valid ? dimension : 0;
}

std::string counted(uint64_t count, const std::string& noun) {
  return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

}  // namespace

std::string damageWarning(const std::string& path, const Damage& damage) {
  std::string errors;
  if (damage.packets > 0) {
    errors = counted(damage.packets, "packet") + " could not be decoded; frames may be missing or damaged";
  } else if (damage.frames > 0) {
    errors = counted(damage.frames, "frame") + " had errors and may be damaged";
  }
  if (damage.copied > 0) {
    if (!errors.empty()) errors += "; ";
    errors += counted(damage.copied, "packet") + " of its sound or other streams " +
              (damage.copied == 1 ? "is" : "are") + " damaged and left out";
  }
  return errors.empty() ? errors : path + ": " + errors;
}

std::string timeJumpWarning(const std::string& path, uint64_t jumps) {
  if (jumps == 0) return {};
  return path + ": its time stamps jump back in " + counted(jumps, "place") +
         "; from there on they are moved, so that time goes on";
}

FrameSize parseFrameSize(const std::string& text) {
  const std::size_t x = text.find('x');
  FrameSize size;
  if (x != std::string::npos) {
    size.width = parseDimension(text.data(), text.data() + x);
    size.height = parseDimension(text.data() + x + 1, text.data() + text.size());
  }
  if (size.width == 0 || size.height == 0) {
    throw UserError("--size: '" + text + "' is not WIDTHxHEIGHT, two whole numbers from 1 to 65535");
  }
  return size;
}

std::optional<FrameSize> rawFrameSize(const std::string& path, const std::optional<std::string>& size) {
  const bool isRaw = path == kStandardStream ? size.has_value() : lowerCaseEnding(path) == ".nv12";
  if (!isRaw && size) throw UserError(path + ": --size is for raw .nv12 input; this file says its own");
  if (!isRaw) return std::nullopt;
  if (!size) throw UserError(path + ": raw frames need --size WIDTHxHEIGHT");
  return parseFrameSize(*size);
}

std::unique_ptr<FrameReader> openFrameReader(const std::string& path, const ReadOptions& options) {
  const std::optional<FrameSize> size = rawFrameSize(path, options.size);
  if (size) return std::make_unique<RawNv12Reader>(path, *size);
  return std::make_unique<LibavReader>(path, options);
}

std::unique_ptr<FrameReader> openFrameReader(const std::string& path,
                                             const std::optional<std::string>& size) {
  return openFrameReader(path, ReadOptions{size});
}

}  // namespace segmask
