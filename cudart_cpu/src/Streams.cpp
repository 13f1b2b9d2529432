#include "src/Streams.h"

#include <algorithm>
#include <iterator>
#include <utility>
#include <vector>

namespace cudart_cpu {

Streams::Streams() {
  streams_[nullptr] = std::make_shared<Stream>(Stream{true, false, false});
  spare_.emplace_back();
}

cudaStream_t Streams::create(bool nonBlocking) {
  auto stream = std::make_shared<Stream>(Stream{false, nonBlocking, false});
  // The stream's address serves as a unique handle; nothing is read through it.
  auto* const handle = reinterpret_cast<cudaStream_t>(stream.get());
  const Lock lock(mutex_);
  streams_[handle] = std::move(stream);
  return handle;
}

bool Streams::destroy(cudaStream_t handle) {
  Lock lock(mutex_);
  const StreamPtr stream = find(handle);
  if (!stream || stream->isDefault) return false;
  streams_.erase(handle);
  await([&](const Task& task) { return task.stream == stream; }, lock);
  return true;
}

bool Streams::isLive(cudaStream_t handle) const {
  const Lock lock(mutex_);
  return find(handle) != nullptr;
}

bool Streams::submitEither(cudaStream_t handle, const Work& now, const std::function<Work()>& later) {
  Lock lock(mutex_);
  const StreamPtr stream = find(handle);
  if (!stream) return false;
  const bool waits = mustWait(*stream);
  enqueue(stream, waits ? later() : now);
  // A task that need not wait runs in the calling thread, because the memory that it refers to is valid only
  // during this call.
  if (!waits) run(std::prev(tasks_.end()), lock);
  runReady(lock);
  return true;
}

bool Streams::finish(cudaStream_t handle) {
  Lock lock(mutex_);
  const StreamPtr stream = find(handle);
  if (!stream) return false;
  await([&](const Task& task) { return task.stream == stream; }, lock);
  return true;
}

void Streams::finishAll() {
  Lock lock(mutex_);
  await([](const Task&) { return true; }, lock);
}

cudaEvent_t Streams::createEvent() {
  auto event = std::make_unique<Event>();
  // As for a stream: an address that nothing is read through.
  auto* const handle = reinterpret_cast<cudaEvent_t>(event.get());
  const Lock lock(mutex_);
  events_[handle] = std::move(event);
  return handle;
}

bool Streams::destroyEvent(cudaEvent_t handle) {
  const Lock lock(mutex_);
  return events_.erase(handle) == 1;
}

bool Streams::record(cudaEvent_t event, cudaStream_t stream) {
  const Lock lock(mutex_);
  const auto found = events_.find(event);
  const StreamPtr captured = find(stream);
  if (found == events_.end() || !captured) return false;
  found->second->marker = mustWait(*captured) ? enqueue(captured, [] {}) : 0;
  return true;
}

bool Streams::isComplete(cudaEvent_t handle, bool& complete) const {
  const Lock lock(mutex_);
  const auto found = events_.find(handle);
  if (found == events_.end()) return false;
  const auto isMarker = [&](const Task& task) { return task.number == found->second->marker; };
  complete = std::none_of(tasks_.begin(), tasks_.end(), isMarker);
  return true;
}

bool Streams::finishEvent(cudaEvent_t handle) {
  Lock lock(mutex_);
  const auto found = events_.find(handle);
  if (found == events_.end()) return false;
  const uint64_t marker = found->second->marker;
  await([marker](const Task& task) { return task.number == marker; }, lock);
  return true;
}

std::size_t Streams::liveEvents() const {
  const Lock lock(mutex_);
  return events_.size();
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

bool Streams::pending(cudaStream_t handle, std::size_t& tasks) const {
  const Lock lock(mutex_);
  const StreamPtr stream = find(handle);
  if (!stream) return false;
  const auto isOurs = [&](const Task& task) { return task.stream == stream; };
  tasks = static_cast<std::size_t>(std::count_if(tasks_.begin(), tasks_.end(), isOurs));
  return true;
}

bool Streams::keepOrder(const Stream& a, const Stream& b) {
  return &a == &b || (a.isDefault && !b.nonBlocking) || (b.isDefault && !a.nonBlocking);
}

Streams::StreamPtr Streams::find(cudaStream_t handle) const {
  const auto found = streams_.find(handle);
  return found == streams_.end() ? nullptr : found->second;
}

uint64_t Streams::enqueue(StreamPtr stream, Work work) {
  if (spare_.empty()) spare_.emplace_back();
  spare_.front() = {++lastNumber_, std::move(stream), std::move(work), false, false};
  tasks_.splice(tasks_.end(), spare_, spare_.begin());
  return lastNumber_;
}

/// Whether a new task of `stream` has to wait.
bool Streams::mustWait(const Stream& stream) const {
  return stream.held || mustWait(stream, tasks_.end());
}

/// Whether a task of `stream` at `end` comes after one that is not done.
bool Streams::mustWait(const Stream& stream, Tasks::const_iterator end) const {
  return std::any_of(tasks_.begin(), end, [&](const Task& task) { return keepOrder(*task.stream, stream); });
}

Streams::Tasks::iterator Streams::nextReady() {
  for (auto task = tasks_.begin(); task != tasks_.end(); ++task) {
    if (task->running || (task->stream->held && !task->awaited)) continue;
    if (!mustWait(*task->stream, task)) return task;
  }
  return tasks_.end();
}

void Streams::run(Tasks::iterator task, Lock& lock) noexcept {
  task->running = true;
  lock.unlock();
  task->work();
  lock.lock();
  *task = {};
  spare_.splice(spare_.end(), tasks_, task);
  if (spare_.size() > 1) spare_.pop_back();
  taskDone_.notify_all();
}

void Streams::runReady(Lock& lock) noexcept {
  for (auto task = nextReady(); task != tasks_.end(); task = nextReady()) run(task, lock);
}

void Streams::await(const std::function<bool(const Task&)>& wanted, Lock& lock) {
  uint64_t last = 0;
  std::vector<const Stream*> needed;
  for (auto task = tasks_.rbegin(); task != tasks_.rend(); ++task) {
    const Stream& stream = *task->stream;
    const auto comesBefore = [&](const Stream* later) { return keepOrder(stream, *later); };
    if (!wanted(*task) && std::none_of(needed.begin(), needed.end(), comesBefore)) continue;
    task->awaited = true;
    last = std::max(last, task->number);
    if (std::find(needed.begin(), needed.end(), &stream) == needed.end()) needed.push_back(&stream);
  }
  const auto isAwaited = [&](const Task& task) { return task.awaited && task.number <= last; };
  runReady(lock);
  while (std::any_of(tasks_.begin(), tasks_.end(), isAwaited)) {
    taskDone_.wait(lock);
    runReady(lock);
  }
}

}  // namespace cudart_cpu
