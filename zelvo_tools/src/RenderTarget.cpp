#include "zelvo/RenderTarget.h"

#include <utility>

namespace zelvo {

RenderTarget::RenderTarget(std::shared_ptr<PictureStorage> storage) : storage_(std::move(storage)) {}

RenderTarget::~RenderTarget() = default;

}  // namespace zelvo
