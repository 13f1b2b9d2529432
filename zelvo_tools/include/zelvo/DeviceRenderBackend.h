#pragma once

#include <cstddef>
#include <memory>

#include "zelvo/IRenderBackend.h"
#include "zelvo/export.h"

namespace zelvo {

/// The backend of the reference host: maps a target to its own planes in device memory, on one stream.
class ZELVO_EXPORT DeviceRenderBackend : public IRenderBackend {
 public:
  /// `stream` is not owned and must outlive the backend; null means the default stream.
  explicit DeviceRenderBackend(CUstream_st* stream);
  ~DeviceRenderBackend() override;

  Mapping map(RenderTarget& target) override;

  /// Mappings whose guards still live.
  std::size_t liveMappings() const;

 private:
  std::shared_ptr<void> token_;
  CUstream_st* stream_;
};

}  // namespace zelvo
