#include "render_base/LazyDetachedPicture.h"

#include <stdexcept>
#include <utility>

#include "zelvo/ZelvoPicture.h"
#include "zelvo/ZelvoPicturePool.h"

namespace {

using SharedPicture = std::shared_ptr<zelvo::ZelvoPicture>;

/// The fields that a copy is made from, read under the lock so that the copy itself can be made without it.
struct CloneRequest {
  std::string name;
  uint64_t id;
  SharedPicture source;
  std::shared_ptr<zelvo::ZelvoPicturePool> pool;
  LazyDetachedPicture::CloneDetached cloneDetached;
};

SharedPicture makeClone(const CloneRequest& request) {
  if (request.pool) {
    if (SharedPicture copy = request.pool->clone(*request.source)) return copy;
  }
  SharedPicture copy;
  if (request.cloneDetached)
    copy = request.cloneDetached(request.name.empty() ? "/" : request.name, request.id);
  if (!copy) throw std::runtime_error("LazyDetachedPicture cloneDetached failed");
  return copy;
}

}  // namespace

SharedPicture LazyDetachedPicture::ensureWritablePicShared() {
  CloneRequest request;
  {
    const std::lock_guard<std::mutex> lock(mutex);
    if (writable) return writable;
    if (!source) throw std::runtime_error("LazyDetachedPicture has no source picture");
    if (sourceId == 0) throw std::runtime_error("LazyDetachedPicture has no source picture id");
    request = {sourceName, sourceId, source, pool, cloneDetached};
  }
  SharedPicture copy = makeClone(request);

  const std::lock_guard<std::mutex> lock(mutex);
  if (!writable) writable = std::move(copy);
  return writable;
}

bool LazyDetachedPicture::hasSource() const {
  const std::lock_guard<std::mutex> lock(mutex);
  return source != nullptr;
}

SharedPicture LazyDetachedPicture::readable() const {
  const std::lock_guard<std::mutex> lock(mutex);
  return writable ? writable : source;
}
