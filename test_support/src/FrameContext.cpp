#include "test_support/FrameContext.h"

#include <utility>

#include "zelvo/ZelvoPicture.h"
#include "zelvo/ZelvoPicturePool.h"
#include "zelvo/transfer.h"

namespace plugin_test {

FrameContext::FrameContext() {
  resolver.resolve = [this](uint64_t frame_id, const SwAny& stored) {
    resolved_frames.push_back(frame_id);
    return stored;
  };
  ctx.payload_resolver = &resolver;
  ctx.producer_statuses = &reports;
  ctx.inputs = &inputs;
}

RenderProducerStatus& FrameContext::report(const std::string& producer) {
  RenderProducerStatus& added = reports[kDetections].emplace_back();
  added.payload_type = kDetections;
  added.producer_id = producer;
  return added;
}

RenderInput& FrameContext::deliver(const std::string& producer, SwAny payload) {
  RenderInput& added = inputs[kDetections].emplace_back();
  added.payload_type = kDetections;
  added.producer_id = producer;
  added.payload = std::move(payload);
  return added;
}

void FrameContext::show(std::shared_ptr<zelvo::ZelvoPicture> source) {
  ctx.picture.source = std::move(source);
  ctx.picture.sourceId = 1;
  ctx.picture.pool = std::make_shared<zelvo::ZelvoPicturePool>();
}

void FrameContext::show(int width, int height, const std::vector<uint8_t>& samples, cudaStream_t stream) {
  show(std::make_shared<zelvo::ZelvoPicture>(width, height));
  zelvo::upload(*ctx.picture.source, samples.data(), stream);
}

std::vector<uint8_t> FrameContext::pixels(cudaStream_t stream) const {
  return samplesOf(*ctx.picture.readable(), stream);
}

std::vector<uint8_t> samplesOf(const zelvo::ZelvoPicture& picture, cudaStream_t stream) {
  std::vector<uint8_t> samples(zelvo::packedNv12Bytes(picture.width(), picture.height()));
  zelvo::download(picture, samples.data(), stream);
  return samples;
}

}  // namespace plugin_test
