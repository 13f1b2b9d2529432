#pragma once

#include <memory>

#include "zelvo/export.h"

namespace zelvo {

class PictureStorage;

/// An object that a backend can map for drawing. Owned by the caller that got it from the picture.
class ZELVO_EXPORT RenderTarget {
 public:
  explicit RenderTarget(std::shared_ptr<PictureStorage> storage);
  virtual ~RenderTarget();
  RenderTarget(const RenderTarget&) = delete;
  RenderTarget& operator=(const RenderTarget&) = delete;

  /// The samples drawn on; shared with the picture the target was made from.
  const std::shared_ptr<PictureStorage>& storage() const { return storage_; }

 private:
  std::shared_ptr<PictureStorage> storage_;
};

}  // namespace zelvo
