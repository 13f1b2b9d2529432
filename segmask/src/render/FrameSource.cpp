#include "src/render/FrameSource.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

#include "io/Interrupt.h"
#include "io/UserError.h"

namespace segmask {
namespace {

constexpr char kDigits[] = "0123456789";
constexpr std::size_t kMostDigits = 18;

/// A number of seconds, minutes or hours; empty for anything but digits, and one point where it may be.
std::optional<double> parseTimePart(const std::string& text, bool mayHavePoint) {
  const std::string allowed = std::string(kDigits) + (mayHavePoint ? "." : "");
  const bool valid = text.size() <= kMostDigits && text.find_first_of(kDigits) != std::string::npos &&
                     text.find_first_not_of(allowed) == std::string::npos &&
                     std::count(text.begin(), text.end(), '.') <= 1;
  if (!valid) return std::nullopt;
  return std::stod(text);
}

/// Hours, minutes and seconds, of which the first ones may be missing.
std::optional<double> parseTime(std::string text) {
  constexpr double kSixty = 60;
  constexpr int kMostParts = 3;
  if (!text.empty() && text.back() == 's') text.pop_back();
  double seconds = 0;
  for (int parts = 1; parts <= kMostParts; ++parts) {
    const std::size_t colon = text.find(':');
    const std::optional<double> part = parseTimePart(text.substr(0, colon), colon == std::string::npos);
    if (!part) break;
    seconds = seconds * kSixty + *part;
    if (colon == std::string::npos) return seconds;
    text.erase(0, colon + 1);
  }
  return std::nullopt;
}

}  // namespace

StartPoint parseStartPoint(const std::string& text) {
  const bool isNumber =
      !text.empty() && text.size() <= kMostDigits && text.find_first_not_of(kDigits) == std::string::npos;
  if (isNumber) return {std::stoull(text), std::nullopt};
  const std::optional<double> seconds = parseTime(text);
  if (!seconds) {
    throw UserError("--start: '" + text + "' is neither a frame's number (250) nor a time (12.5, 90s, 1:30)");
  }
  return {0, seconds};
}

bool isBeforeTime(int64_t ticks, AVRational tick, double seconds) {
  // Half a tick less, because the time of a frame is rounded to ticks.
  return (static_cast<double>(ticks) + 0.5) * av_q2d(tick) < seconds;
}

bool FrameSource::isBefore(const StartPoint& start, const Frame& frame) const {
  if (!start.seconds) return first_ < start.frame;
  return isBeforeTime(frame.pts - firstPts_, reader_->format().timeBase, *start.seconds);
}

void FrameSource::skipTo(const StartPoint& start, const std::string& path) {
  Frame frame;
  for (first_ = 0; reader_->next(frame); ++first_) {
    if (first_ == 0) firstPts_ = frame.pts;
    const bool isFirst = !isBefore(start, frame);
    if (isFirst) shift_ = frame.pts;
    if (reader_->sideStreams()) reader_->sideStreams()->beginAt(frame.pts, reader_->format().timeBase);
    if (!isFirst) continue;
    pending_ = std::move(frame);
    return;
  }
  if (Interrupt::requested()) return;
  throw UserError("--start: " + path + " has only " + std::to_string(first_) + " frames");
}

void FrameSource::goToPiece(const VideoPiece& piece, const std::string& path) {
  if (piece.frames) limit(*piece.frames);
  if (piece.indexed) {
    passed_ = piece.offset;
    path_ = path;
    goToIndexed(*piece.indexed);
  } else if (piece.offset > 0) {
    passOver(piece.offset);
    damageBefore_ = reader_->damage();
  }
}

void FrameSource::passOver(uint64_t frames) {
  Frame frame;
  for (; passed_ < frames; ++passed_, ++first_) {
    if (pending_) {
      pending_.reset();
    } else if (!reader_->next(frame)) {
      return;
    }
  }
}

void FrameSource::goToIndexed(const IndexedFrames& indexed) {
  indexed_ = indexed;
  shift_ = indexed.beginning;
  if (indexed.entry) reader_->goTo(*indexed.entry);
  Frame frame;
  for (first_ = indexed.entry ? indexed.entry->frame : 0; first_ < indexed.first; ++first_) {
    if (reader_->next(frame)) continue;
    if (!Interrupt::requested()) throw NotAsIndexed(path_);
    return;
  }
}

bool FrameSource::next(Frame& frame, uint64_t& number) {
  if (limit_ && given_ >= *limit_) return false;
  if (pending_) {
    frame.nv12.swap(pending_->nv12);
    frame.pts = pending_->pts;
    pending_.reset();
  } else if (!reader_->next(frame)) {
    if (Interrupt::requested()) return false;
    if (indexed_ && (given_ != indexed_->frames || damage().count() > 0)) throw NotAsIndexed(path_);
    sourceFrames_ = first_ + given_;
    return false;
  }
  if (indexed_) checkTime(frame.pts);
  frame.pts -= shift_;
  number = first_ + given_++;
  return true;
}

void FrameSource::checkTime(int64_t pts) const {
  const bool isWrong = given_ >= indexed_->frames || (given_ == 0 && pts != indexed_->firstTime) ||
                       (given_ + 1 == indexed_->frames && pts != indexed_->lastTime);
  if (isWrong || reader_->damage().count() > 0) throw NotAsIndexed(path_);
}

Damage FrameSource::damage() const {
  const Damage now = reader_->damage();
  return {now.packets - damageBefore_.packets, now.frames - damageBefore_.frames, now.copied};
}

std::optional<uint64_t> FrameSource::frameCount() const {
  std::optional<uint64_t> count = reader_->frameCount();
  if (count) count = *count - std::min(*count, first_);
  return limit_ && count ? std::min(*limit_, *count) : count;
}

}  // namespace segmask
