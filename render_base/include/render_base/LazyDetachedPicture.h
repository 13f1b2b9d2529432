#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

namespace zelvo {
class ZelvoPicture;
class ZelvoPicturePool;
}  // namespace zelvo

/// A frame that others may be reading too, with a private writable copy made at the first request (copy on
/// write).
///
/// Two states: not detached, and detached once the copy is there; it never goes back. The host fills the
/// fields before the first pass; from then on the mutex guards them all.
class LazyDetachedPicture {
 public:
  /// Makes a copy of the picture known by that name ("/" when it has none) and identifier, as large as it;
  /// empty on failure.
  using CloneDetached =
      std::function<std::shared_ptr<zelvo::ZelvoPicture>(const std::string& name, uint64_t id)>;

  std::string sourceName;  ///< may be empty
  uint64_t sourceId = 0;   ///< 0 means unknown, and no copy can be made
  std::shared_ptr<zelvo::ZelvoPicture> source;
  std::shared_ptr<zelvo::ZelvoPicture> writable;  ///< the copy; empty until first made
  std::shared_ptr<zelvo::ZelvoPicturePool> pool;  ///< tried first; may be empty
  CloneDetached cloneDetached;  ///< tried when there is no pool or its clone fails; may be empty

  mutable std::mutex mutex;

  /// The writable copy, made by the first call and shared by all later ones. Never empty.
  ///
  /// Any thread may call it. The copy is made without holding the mutex, so of two callers at once both may
  /// copy; the first to finish wins and both get its picture. Throws std::runtime_error when there is no
  /// source, no source identifier, or no copy could be made; nothing has changed then, and a later call tries
  /// again. What the pool or the callable throw passes through.
  std::shared_ptr<zelvo::ZelvoPicture> ensureWritablePicShared();

  /// Whether there is a source picture.
  bool hasSource() const;

  /// The copy when there is one, otherwise the source; empty when there is neither.
  std::shared_ptr<zelvo::ZelvoPicture> readable() const;
};
