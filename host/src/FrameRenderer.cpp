#include "host/FrameRenderer.h"

#include <chrono>
#include <new>
#include <string>

#include "io/UserError.h"
#include "zelvo/transfer.h"

namespace segmask {
namespace {

constexpr char kSourceName[] = "segmask";

double millisecondsSince(std::chrono::steady_clock::time_point start) {
  return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

}  // namespace

FrameRenderer::FrameRenderer(int width, int height)
    : width_(width),
      height_(height),
      backend_(stream_.get()),
      pool_(std::make_shared<zelvo::ZelvoPicturePool>()) {}

void FrameRenderer::setFrameSize(int width, int height) {
  if (width == width_ && height == height_) return;
  width_ = width;
  height_ = height;
  source_.reset();
}

void FrameRenderer::use(IRenderPlugin& plugin) {
  pool_->setWriter(plugin.getName());
  plugin.init(RenderInit{&backend_});
  plugin_ = &plugin;
}

FrameRenderer::Result FrameRenderer::render(uint64_t number, Frame& frame, const ProducerInputs& inputs) {
  const std::string prefix = "frame " + std::to_string(number) + ": ";
  try {
    return renderUnchecked(number, frame, inputs);
  } catch (const std::bad_alloc&) {
    throw UserError(prefix + "out of memory");
  } catch (const std::exception& error) {
    throw UserError(prefix + error.what());
  } catch (...) {
    throw UserError(prefix + "the plug-in threw something that is no std::exception");
  }
}

FrameRenderer::Result FrameRenderer::renderUnchecked(uint64_t number, Frame& frame,
                                                     const ProducerInputs& inputs) {
  const std::shared_ptr<zelvo::ZelvoPicture> source = freeSource();
  zelvo::upload(*source, frame.nv12.data(), stream_.get());

  RenderContext context;
  fill(context, number, inputs);
  context.picture.source = source;

  Result result;
  const auto start = std::chrono::steady_clock::now();
  plugin_->render(context);
  result.renderMs = millisecondsSince(start);

  const std::shared_ptr<zelvo::ZelvoPicture> readable = context.picture.readable();
  result.drawn = readable && readable != source;
  if (result.drawn) {
    undrawn_.resize(frame.nv12.size());
    zelvo::download(*readable, undrawn_.data(), stream_.get());
    undrawn_.swap(frame.nv12);
  }
  if (watcher_) watcher_(context);
  return result;
}

void FrameRenderer::fill(RenderContext& context, uint64_t number, const ProducerInputs& inputs) const {
  inputs.fill(context, number);
  context.picture.sourceName = kSourceName;
  context.picture.sourceId = number + 1;  // 0 would mean "unknown"
  context.picture.pool = pool_;
}

/// The previous frame's picture, or a new one while someone else still owns that.
std::shared_ptr<zelvo::ZelvoPicture> FrameRenderer::freeSource() {
  if (!source_ || source_.use_count() > 1) source_ = std::make_shared<zelvo::ZelvoPicture>(width_, height_);
  return source_;
}

}  // namespace segmask
