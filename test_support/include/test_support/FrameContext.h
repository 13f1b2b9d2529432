#pragma once

#include <cuda_runtime_api.h>

#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "core/SwAny.h"
#include "render_base/RenderContext.h"

namespace plugin_test {

/// The payload type that the plug-in draws.
inline constexpr char kDetections[] = "detection.v1";

/// A context together with all that it points to: the lists of reports and inputs, which are empty at first,
/// and a resolver that hands on what is stored. Without a picture at first. A test changes what it likes, the
/// context's own pointers too.
struct FrameContext {
  FrameContext();
  FrameContext(const FrameContext&) = delete;
  FrameContext& operator=(const FrameContext&) = delete;

  /// Adds one of kDetections from the producer of that id. The reference holds until the next one.
  RenderProducerStatus& report(const std::string& producer);
  RenderInput& deliver(const std::string& producer, SwAny payload);

  /// Gives the context that picture, with number 1, and a pool to copy it.
  void show(std::shared_ptr<zelvo::ZelvoPicture> source);
  /// The same with a new picture that holds these samples, packed NV12, by the time of the stream's next
  /// work.
  void show(int width, int height, const std::vector<uint8_t>& samples, cudaStream_t stream = nullptr);

  /// The readable picture's samples, packed, once the stream's work is done.
  std::vector<uint8_t> pixels(cudaStream_t stream = nullptr) const;

  std::unordered_map<std::string, std::vector<RenderProducerStatus>> reports;
  std::unordered_map<std::string, std::vector<RenderInput>> inputs;
  RenderPayloadResolver resolver;
  std::vector<uint64_t> resolved_frames;  ///< what the resolver was called for, in order
  RenderContext ctx;
};

/// A picture's samples, packed, once the stream's work is done.
std::vector<uint8_t> samplesOf(const zelvo::ZelvoPicture& picture, cudaStream_t stream);

}  // namespace plugin_test
