#include "src/Streams.h"

#include <algorithm>
#include <iterator>
#include <utility>
#include <vector>

namespace cudart_cpu {

Streams::Streams() {
  streams_[nullptr] = std::make_shared<Stream>(Stream{true, false, false});
}

cudaStream_t Streams::create(bool nonBlocking) {
  auto stream = std::make_shared<Stream>(Stream{false, nonBlocking, false});
  // A handle is an address that nobody else has; nothing is ever read through it.
  const auto handle = reinterpret_cast<cudaStream_t>(stream.get());
  const Lock lock(mutex_);
  streams_[handle] = std::move(stream);
  return handle;
}

bool Streams::destroy(cudaStream_t handle) {
  Lock lock(mutex_);
  const StreamPtr stream = find(handle);
  if (!stream || stream->isDefault) return false;
  streams_.erase(handle);
  await([&](const Stream& s) { return &s == stream.get(); }, lock);
  return true;
}

bool Streams::isLive(cudaStream_t handle) const {
  const Lock lock(mutex_);
  return find(handle) != nullptr;
}

bool Streams::submit(cudaStream_t handle, Work work, const MakeLasting& makeLasting) {
  Lock lock(mutex_);
  StreamPtr stream = find(handle);
  if (!stream) return false;
  const bool waits = stream->held || mustWait(*stream, pieces_.end());
  if (waits && makeLasting) work = makeLasting();
  pieces_.push_back({nextNumber_++, std::move(stream), std::move(work), false, false});
  // Its own thread runs a piece that need not wait, and nothing else: what it refers to is valid only during
  // this call.
  if (!waits) run(std::prev(pieces_.end()), lock);
  runReady(lock);
  return true;
}

bool Streams::finish(cudaStream_t handle) {
  Lock lock(mutex_);
  const StreamPtr stream = find(handle);
  if (!stream) return false;
  await([&](const Stream& s) { return &s == stream.get(); }, lock);
  return true;
}

void Streams::finishAll() {
  Lock lock(mutex_);
  await([](const Stream&) { return true; }, lock);
}

bool Streams::hold(cudaStream_t handle) {
  const Lock lock(mutex_);
  const StreamPtr stream = find(handle);
  if (!stream) return false;
  stream->held = true;
  return true;
}

bool Streams::release(cudaStream_t handle) {
  Lock lock(mutex_);
  const StreamPtr stream = find(handle);
  if (!stream) return false;
  stream->held = false;
  runReady(lock);
  return true;
}

void Streams::releaseAll() {
  Lock lock(mutex_);
  for (auto& entry : streams_) entry.second->held = false;
  runReady(lock);
}

bool Streams::pending(cudaStream_t handle, std::size_t& pieces) const {
  const Lock lock(mutex_);
  const StreamPtr stream = find(handle);
  if (!stream) return false;
  const auto isOurs = [&](const Piece& piece) { return piece.stream == stream; };
  pieces = static_cast<std::size_t>(std::count_if(pieces_.begin(), pieces_.end(), isOurs));
  return true;
}

bool Streams::keepOrder(const Stream& a, const Stream& b) {
  return &a == &b || (a.isDefault && !b.nonBlocking) || (b.isDefault && !a.nonBlocking);
}

Streams::StreamPtr Streams::find(cudaStream_t handle) const {
  const auto found = streams_.find(handle);
  return found == streams_.end() ? nullptr : found->second;
}

/// Whether a piece of `stream` at `end` comes after one that is not done.
bool Streams::mustWait(const Stream& stream, Pieces::const_iterator end) const {
  return std::any_of(pieces_.begin(), end, [&](const Piece& p) { return keepOrder(*p.stream, stream); });
}

Streams::Pieces::iterator Streams::nextReady() {
  for (auto piece = pieces_.begin(); piece != pieces_.end(); ++piece) {
    if (piece->running || (piece->stream->held && !piece->awaited)) continue;
    if (!mustWait(*piece->stream, piece)) return piece;
  }
  return pieces_.end();
}

void Streams::run(Pieces::iterator piece, Lock& lock) noexcept {
  piece->running = true;
  lock.unlock();
  piece->work();
  lock.lock();
  pieces_.erase(piece);
  pieceDone_.notify_all();
}

void Streams::runReady(Lock& lock) noexcept {
  for (auto piece = nextReady(); piece != pieces_.end(); piece = nextReady()) run(piece, lock);
}

void Streams::await(const std::function<bool(const Stream&)>& wanted, Lock& lock) {
  const std::uint64_t limit = nextNumber_;
  std::vector<const Stream*> needed;
  for (auto piece = pieces_.rbegin(); piece != pieces_.rend(); ++piece) {
    const Stream& stream = *piece->stream;
    const auto comesBefore = [&](const Stream* later) { return keepOrder(stream, *later); };
    if (!wanted(stream) && std::none_of(needed.begin(), needed.end(), comesBefore)) continue;
    piece->awaited = true;
    if (std::find(needed.begin(), needed.end(), &stream) == needed.end()) needed.push_back(&stream);
  }
  const auto isAwaited = [&](const Piece& piece) { return piece.awaited && piece.number < limit; };
  runReady(lock);
  while (std::any_of(pieces_.begin(), pieces_.end(), isAwaited)) {
    pieceDone_.wait(lock);
    runReady(lock);
  }
}

}  // namespace cudart_cpu
