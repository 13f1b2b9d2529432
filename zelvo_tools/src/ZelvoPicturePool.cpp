#include "zelvo/ZelvoPicturePool.h"

#include <algorithm>
#include <exception>
#include <iterator>
#include <mutex>
#include <utility>
#include <vector>

#include "src/PictureStorage.h"
#include "src/picture_copy.h"
#include "zelvo/ZelvoPicture.h"

namespace zelvo {

/// The state that the pool shares with its clones. They hold it weakly, because they may outlive the pool.
struct ZelvoPicturePool::State {
  static constexpr std::size_t kMostIdle = 8;

  /// Room for one more than may stay, so that giving back never allocates.
  State() { idle.reserve(kMostIdle + 1); }

  std::mutex mutex;
  std::string writer;
  std::vector<std::unique_ptr<PictureStorage>> idle;  ///< the one that has waited longest first

  /// An idle buffer of this size or a new one, with the present writer's name. Throws what PictureStorage
  /// throws.
  std::unique_ptr<PictureStorage> take(int width, int height);

  void giveBack(std::unique_ptr<PictureStorage> storage);

  /// take, shared: the last owner gives it back, or frees it when the pool is gone.
  static std::shared_ptr<PictureStorage> lend(const std::shared_ptr<State>& state, int width, int height);
};

std::unique_ptr<PictureStorage> ZelvoPicturePool::State::take(int width, int height) {
  std::unique_ptr<PictureStorage> storage;
  std::string name;
  {
    const std::lock_guard<std::mutex> lock(mutex);
    name = writer;
    const auto fits = [&](const auto& idler) { return idler->width() == width && idler->height() == height; };
    const auto found = std::find_if(idle.begin(), idle.end(), fits);
    if (found != idle.end()) {
      storage = std::move(*found);
      idle.erase(found);
    }
  }
  if (!storage) storage = std::make_unique<PictureStorage>(width, height);
  storage->setWriter(std::move(name));
  return storage;
}

void ZelvoPicturePool::State::giveBack(std::unique_ptr<PictureStorage> storage) {
  if (!storage->checkGuardBytes()) return;
  std::unique_ptr<PictureStorage> surplus;  // destroyed after the lock is released
  const std::lock_guard<std::mutex> lock(mutex);
  idle.push_back(std::move(storage));
  if (idle.size() <= kMostIdle) return;
  surplus = std::move(idle.front());
  idle.erase(idle.begin());
}

std::shared_ptr<PictureStorage> ZelvoPicturePool::State::lend(const std::shared_ptr<State>& state, int width,
                                                              int height) {
  const auto giveBack = [pool = std::weak_ptr<State>(state)](PictureStorage* storage) {
    std::unique_ptr<PictureStorage> owned(storage);
    if (const auto live = pool.lock()) live->giveBack(std::move(owned));
  };
  return {state->take(width, height).release(), giveBack};
}

ZelvoPicturePool::ZelvoPicturePool() : state_(std::make_shared<State>()) {}

ZelvoPicturePool::~ZelvoPicturePool() = default;

std::shared_ptr<ZelvoPicture> ZelvoPicturePool::clone(const ZelvoPicture& picture) try {
  const int width = picture.width();
  const int height = picture.height();
  const bool isEmpty = picture.yPlane() == nullptr;
  auto copy = isEmpty ? std::make_shared<ZelvoPicture>()
                      : std::make_shared<ZelvoPicture>(State::lend(state_, width, height));
  if (!isEmpty) {
    const cudaError_t error =
        copyNv12(targetOf(*copy), sourceOf(picture), width, height, cudaMemcpyDeviceToDevice, nullptr);
    if (error != cudaSuccess) return nullptr;
  }
  copy->metadata() = picture.metadata();
  return copy;
} catch (const std::exception&) {
  return nullptr;
}

void ZelvoPicturePool::setWriter(std::string name) {
  const std::lock_guard<std::mutex> lock(state_->mutex);
  state_->writer = std::move(name);
}

std::size_t ZelvoPicturePool::idleBuffers() const {
  const std::lock_guard<std::mutex> lock(state_->mutex);
  return state_->idle.size();
}

}  // namespace zelvo
