#include "zelvo/ZelvoPicture.h"

#include <utility>

#include "src/PictureStorage.h"
#include "zelvo/RenderTarget.h"

namespace zelvo {

ZelvoPicture::ZelvoPicture() = default;

ZelvoPicture::ZelvoPicture(int width, int height)
    : storage_(std::make_shared<PictureStorage>(width, height)) {}

ZelvoPicture::ZelvoPicture(std::shared_ptr<PictureStorage> storage) : storage_(std::move(storage)) {}

ZelvoPicture::~ZelvoPicture() = default;

int ZelvoPicture::width() const {
  return storage_ ? storage_->width() : 0;
}

int ZelvoPicture::height() const {
  return storage_ ? storage_->height() : 0;
}

int ZelvoPicture::yPitch() const {
  return storage_ ? storage_->luma().pitch() : 0;
}

int ZelvoPicture::uvPitch() const {
  return storage_ ? storage_->chroma().pitch() : 0;
}

unsigned char* ZelvoPicture::yPlane() const {
  return storage_ ? storage_->luma().samples() : nullptr;
}

unsigned char* ZelvoPicture::uvPlane() const {
  return storage_ ? storage_->chroma().samples() : nullptr;
}

std::unique_ptr<RenderTarget> ZelvoPicture::makeRenderTarget() {
  return storage_ ? std::make_unique<RenderTarget>(storage_) : nullptr;
}

}  // namespace zelvo
