#include "mask/run_lengths.h"

#include <cstddef>
#include <utility>

#include "src/ColumnEdges.h"

namespace seg_mask {
namespace {

constexpr int kGroupBits = 5;
constexpr unsigned kGroup = 0x1F;
constexpr unsigned kSign = 0x10;
constexpr unsigned kMore = 0x20;
constexpr unsigned kFirstCharacter = '0';
constexpr unsigned kLastCharacter = 'o';
constexpr int kMostBits = 60;
constexpr std::size_t kFirstDifference = 3;  // the runs before it are written as they are

/// Takes runs one after the other and makes the mask of them.
class RunPainter {
 public:
  RunPainter(int width, int height)
      : edges_(width, height), height_(height), left_(int64_t{width} * height) {}

  /// False when the run cannot be; `fault` has the reason then.
  bool add(int64_t run, RunLengthsFault& fault) {
    if (run < 0 || run > left_) {
      fault = run < 0 ? RunLengthsFault::Negative : RunLengthsFault::TooManyPixels;
      return false;
    }
    if (inside_ && run > 0) paint(run);
    at_ += run;
    left_ -= run;
    inside_ = !inside_;
    return true;
  }

  std::optional<MaskBits> finish(RunLengthsFault& fault) && {
    if (left_ == 0) return std::move(edges_).fill();
    fault = RunLengthsFault::TooFewPixels;
    return std::nullopt;
  }

 private:
  void paint(int64_t run) {
    const int64_t first = at_ / height_;
    const int64_t last = (at_ + run - 1) / height_;
    edges_.toggle(static_cast<int>(first), static_cast<int>(at_ % height_));
    for (int64_t column = first + 1; column <= last; ++column) edges_.toggle(static_cast<int>(column), 0);
    edges_.toggle(static_cast<int>(last), static_cast<int>(at_ + run - last * height_));
  }

  ColumnEdges edges_;
  int64_t height_;
  int64_t at_ = 0;
  int64_t left_;
  bool inside_ = false;
};

/// Takes the first number off `text`. Nothing when there is none; `fault` has the reason then.
std::optional<int64_t> takeNumber(std::string_view& text, RunLengthsFault& fault) {
  uint64_t number = 0;
  for (int bits = 0; !text.empty(); bits += kGroupBits) {
    const unsigned character = static_cast<unsigned char>(text.front());
    text.remove_prefix(1);
    if (character < kFirstCharacter || character > kLastCharacter || bits == kMostBits) {
      fault = bits == kMostBits ? RunLengthsFault::TooLarge : RunLengthsFault::Character;
      return std::nullopt;
    }
    const unsigned group = character - kFirstCharacter;
    number |= uint64_t{group & kGroup} << bits;
    if ((group & kMore) != 0) continue;
    if ((group & kSign) != 0) number |= ~((uint64_t{1} << (bits + kGroupBits)) - 1);
    return static_cast<int64_t>(number);
  }
  fault = RunLengthsFault::Unfinished;
  return std::nullopt;
}

/// The differences of successive numbers, which the text has from the fourth on. The same steps turn runs
/// into numbers and numbers into runs.
class TwoBefore {
 public:
  /// What the text's number leaves out of the run.
  int64_t get() const { return count_ < kFirstDifference ? 0 : older_; }

  void push(int64_t run) {
    older_ = std::exchange(newer_, run);
    ++count_;
  }

 private:
  std::size_t count_ = 0;
  int64_t older_ = 0;
  int64_t newer_ = 0;
};

void appendNumber(std::string& text, int64_t number) {
  for (bool more = true; more;) {
    const unsigned group = static_cast<unsigned>(number) & kGroup;
    number >>= kGroupBits;
    more = number != ((group & kSign) != 0 ? -1 : 0);
    text += static_cast<char>(kFirstCharacter + (group | (more ? kMore : 0U)));
  }
}

}  // namespace

std::optional<MaskBits> decodeRunLengths(const std::vector<int64_t>& runs, int width, int height,
                                         RunLengthsFault& fault) {
  RunPainter painter(width, height);
  for (const int64_t run : runs) {
    if (!painter.add(run, fault)) return std::nullopt;
  }
  return std::move(painter).finish(fault);
}

std::optional<MaskBits> decodeCompressedRunLengths(std::string_view text, int width, int height,
                                                   RunLengthsFault& fault) {
  RunPainter painter(width, height);
  TwoBefore before;
  while (!text.empty()) {
    const std::optional<int64_t> number = takeNumber(text, fault);
    if (!number) return std::nullopt;
    const int64_t run = *number + before.get();
    if (!painter.add(run, fault)) return std::nullopt;
    before.push(run);
  }
  return std::move(painter).finish(fault);
}

std::string encodeCompressedRunLengths(const MaskView& mask) {
  std::string text;
  TwoBefore before;
  int64_t run = 0;
  const auto endRun = [&] {
    appendNumber(text, run - before.get());
    before.push(run);
    run = 0;
  };
  const auto width = static_cast<std::size_t>(mask.width);
  const std::size_t pixels = width * static_cast<std::size_t>(mask.height);
  bool inside = false;
  for (std::size_t column = 0; column < width; ++column) {
    for (std::size_t pixel = column; pixel < pixels; pixel += width, ++run) {
      if (mask.inside(pixel) == inside) continue;
      endRun();
      inside = !inside;
    }
  }
  endRun();
  return text;
}

}  // namespace seg_mask
