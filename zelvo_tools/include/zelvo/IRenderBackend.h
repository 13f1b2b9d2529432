#pragma once

#include <cstdint>
#include <memory>

#include "zelvo/export.h"

struct CUstream_st;  // the CUDA runtime's stream

namespace zelvo {
class RenderTarget;
}

/// Makes a picture's planes reachable for drawing. Implemented by the host; called from the thread that
/// renders.
class ZELVO_EXPORT IRenderBackend {
 public:
  /// Holds one mapping; destroying it ends the mapping. It never touches the render target, which may be gone
  /// by then. Movable, not copyable; a moved-from or default-made guard holds nothing.
  class ZELVO_EXPORT Guard {
   public:
    Guard() noexcept;
    /// `mapping` owns everything that must live as long as the mapping; its deleter ends the mapping.
    explicit Guard(std::shared_ptr<void> mapping) noexcept;
    ~Guard();
    Guard(Guard&& other) noexcept;
    Guard& operator=(Guard&& other) noexcept;
    Guard(const Guard&) = delete;
    Guard& operator=(const Guard&) = delete;

    /// Whether a mapping is held.
    bool holds() const noexcept { return mapping_ != nullptr; }

   private:
    std::shared_ptr<void> mapping_;
  };

  /// The mapped planes of an NV12 picture. Valid while the guard that came with them lives.
  struct MappedPlanes {
    unsigned char* y = nullptr;     ///< device address of the luma plane
    unsigned char* uv = nullptr;    ///< device address of the interleaved chroma plane
    int32_t yPitch = 0;             ///< bytes from one luma row to the next
    int32_t uvPitch = 0;            ///< bytes from one chroma row to the next
    uint64_t reserved = 0;          ///< the host's own; plug-ins do not read it
    CUstream_st* stream = nullptr;  ///< all work on the planes is queued here
  };

  struct Mapping {
    Guard guard;
    MappedPlanes planes;
  };

  virtual ~IRenderBackend();

  /// Maps `target` for drawing. A mapping that could not be made has a null plane or a pitch of 0. The planes
  /// stay valid as long as the guard, even when the target is destroyed first.
  virtual Mapping map(zelvo::RenderTarget& target) = 0;
};
