#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include "host/CudaStream.h"
#include "host/ProducerInputs.h"
#include "io/Frame.h"
#include "render_base/IRenderPlugin.h"
#include "render_base/RenderContext.h"
#include "zelvo/DeviceRenderBackend.h"
#include "zelvo/ZelvoPicture.h"
#include "zelvo/ZelvoPicturePool.h"

namespace segmask {

/// Uploads frames, lets a plug-in draw into them, and downloads them. Device buffers are kept from frame to
/// frame.
///
/// Must outlive the plug-in's last render: it owns the backend. One thread at a time may use it, not
/// necessarily the one that made it.
class FrameRenderer {
 public:
  struct Result {
    bool drawn = false;     ///< whether the plug-in asked for a writable picture
    double renderMs = 0.0;  ///< milliseconds in the plug-in's render alone
  };

  /// For frames of `width` x `height` pixels.
  FrameRenderer(int width, int height);

  /// The frames from now on have this size.
  void setFrameSize(int width, int height);

  /// Passes the backend to `plugin`, which draws from now on. Not owned.
  void use(IRenderPlugin& plugin);

  /// Lets the plug-in draw frame `number` with these inputs. Where it did, `frame` then holds the result;
  /// otherwise its bytes are as they were. An exception from the plug-in's render and an error of the device
  /// become a UserError that names the frame.
  Result render(uint64_t number, Frame& frame, const ProducerInputs& inputs);

  /// The bytes that the frame of the last render had before, if the plug-in drew on it. Valid until the next
  /// render.
  const std::vector<unsigned char>& undrawn() const { return undrawn_; }

  /// Calls `watcher` from now on after each pass, with the pass's context.
  void watch(std::function<void(const RenderContext&)> watcher) { watcher_ = std::move(watcher); }

 private:
  std::shared_ptr<zelvo::ZelvoPicture> freeSource();
  Result renderUnchecked(uint64_t number, Frame& frame, const ProducerInputs& inputs);
  void fill(RenderContext& context, uint64_t number, const ProducerInputs& inputs) const;

  int width_;
  int height_;
  CudaStream stream_;
  zelvo::DeviceRenderBackend backend_;
  std::shared_ptr<zelvo::ZelvoPicturePool> pool_;
  std::shared_ptr<zelvo::ZelvoPicture> source_;
  std::vector<unsigned char> undrawn_;
  std::function<void(const RenderContext&)> watcher_;
  IRenderPlugin* plugin_ = nullptr;
};

}  // namespace segmask
