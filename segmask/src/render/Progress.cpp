#include "src/render/Progress.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "io/FileDescriptor.h"

namespace segmask {
namespace {

using Seconds = std::chrono::duration<double>;

constexpr std::chrono::milliseconds kBarInterval{100};
constexpr std::chrono::seconds kLineInterval{5};
constexpr std::size_t kBarWidth = 24;
constexpr std::size_t kUsualColumns = 80;
constexpr char kEraseLine[] = "\r\x1b[K";

std::size_t columnsOf(int fd) {
  winsize size{};
  if (ioctl(fd, TIOCGWINSZ, &size) != 0 || size.ws_col == 0) return kUsualColumns;
  return size.ws_col;
}

/// "1:05" or "2:03:04"
std::string clockText(double seconds) {
  constexpr double kMostSeconds = 359999.0;  // 99:59:59
  const auto whole = static_cast<unsigned>(std::min(std::ceil(seconds), kMostSeconds));
  const auto twoDigits = [](unsigned value) {
    return std::string(value < 10 ? ":0" : ":") + std::to_string(value);
  };
  const unsigned hours = whole / 3600;
  const unsigned minutes = whole / 60 % 60;
  const std::string start = hours > 0 ? std::to_string(hours) + twoDigits(minutes) : std::to_string(minutes);
  return start + twoDigits(whole % 60);
}

std::string rateText(double rate) {
  char text[32];
  std::snprintf(text, sizeof text, "%.1f", rate);
  return text;
}

}  // namespace

Progress::Progress(Style style, int fd, std::optional<uint64_t> total, Clock::time_point start,
                   std::string unit)
    : style_(style), fd_(fd), total_(total), start_(start), unit_(std::move(unit)), nextWrite_(start) {
  // The first line comes after a full interval, because short work needs none.
  if (style_ == Style::Lines) nextWrite_ += kLineInterval;
}

Progress::~Progress() {
  if (!shown_.empty()) write(kEraseLine);
}

void Progress::update(uint64_t done, Clock::time_point now) {
  if (style_ == Style::None) return;
  const std::lock_guard<std::mutex> lock(mutex_);
  done_ = done;
  if (now < nextWrite_) return;
  if (style_ == Style::Bar) {
    nextWrite_ = now + kBarInterval;
    shown_ = bar(now);
    write(kEraseLine + shown_);
  } else {
    nextWrite_ = now + kLineInterval;
    write("segmask: " + status(now) + "\n");
  }
}

void Progress::printAbove(const std::string& line) {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (shown_.empty()) {
    write(line + "\n");
  } else {
    write(kEraseLine + line + "\n" + shown_);
  }
}

std::string Progress::status(Clock::time_point now) const {
  const double elapsed = Seconds(now - start_).count();
  const double rate = elapsed > 0 ? static_cast<double>(done_) / elapsed : 0.0;
  std::string text = std::to_string(done_);
  // Some containers give an estimated total, which the video may exceed.
  const bool ahead = total_ && *total_ >= done_;
  if (ahead) text += " of " + std::to_string(*total_);
  text += " " + unit_ + ", " + rateText(rate) + " " + unit_ + "/s";
  if (ahead && rate > 0) text += ", " + clockText(static_cast<double>(*total_ - done_) / rate) + " left";
  return text;
}

std::string Progress::bar(Clock::time_point now) const {
  std::string text;
  if (total_ && *total_ > 0) {
    const double part = std::min(1.0, static_cast<double>(done_) / static_cast<double>(*total_));
    const auto filled = static_cast<std::size_t>(part * double{kBarWidth});
    text = "[" + std::string(filled, '#') + std::string(kBarWidth - filled, '.') + "] ";
  }
  text += status(now);
  // A line that wraps cannot be erased.
  const std::size_t columns = columnsOf(fd_);
  if (text.size() >= columns) text.resize(columns - 1);
  return text;
}

void Progress::write(const std::string& text) const {
  // A failure to show progress does not end the run.
  static_cast<void>(writeFully(fd_, text.data(), text.size()));
}

Progress::Style progressStyleFor(int fd) {
  // NOLINTNEXTLINE(concurrency-mt-unsafe): no thread of this program changes the environment
  const char* const terminal = std::getenv("TERM");
  const bool canErase = terminal && *terminal != '\0' && std::strcmp(terminal, "dumb") != 0;
  return isatty(fd) != 0 && canErase ? Progress::Style::Bar : Progress::Style::Lines;
}

}  // namespace segmask
