#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "zelvo/export.h"

namespace zelvo {

class ZelvoPicture;

/// Copies pictures into buffers that it uses again: when the last owner of a clone's samples (a picture, a
/// render target or a mapping's guard) is gone, they wait here for the next clone of the same size. At most 8
/// buffers wait; then the one that has waited longest is freed. Any thread may call it. Clones may outlive
/// the pool.
///
/// The pool works on the default stream. So a picture may be cloned, and a clone released, only when work on
/// it is done or queued on a stream that keeps order with the default stream: not on one made with
/// cudaStreamNonBlocking.
class ZELVO_EXPORT ZelvoPicturePool {
 public:
  ZelvoPicturePool();
  virtual ~ZelvoPicturePool();
  ZelvoPicturePool(const ZelvoPicturePool&) = delete;
  ZelvoPicturePool& operator=(const ZelvoPicturePool&) = delete;

  /// A new picture of the same size, samples and metadata; of the empty picture, an empty one. The copy comes
  /// after the work queued before and is complete when this returns. Null when memory or the copy fails;
  /// never throws.
  virtual std::shared_ptr<ZelvoPicture> clone(const ZelvoPicture& picture);

  /// Names the writer (for instance a plug-in) of the clones made from now on; a guard-byte report uses the
  /// name.
  void setWriter(std::string name);

  /// The number of buffers that wait to be used again.
  std::size_t idleBuffers() const;

 private:
  struct State;
  std::shared_ptr<State> state_;
};

}  // namespace zelvo
