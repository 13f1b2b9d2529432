#pragma once

#include <cuda_runtime_api.h>

#include <cstdint>
#include <vector>

#include "fuzz/detection_builder.h"
#include "zelvo/IRenderBackend.h"

namespace fuzz {

/// NV12 planes in device memory with pitches of any size, between margins; and beside them, in host memory,
/// the bytes that they should hold, the margins and those between the rows included. For the CPU device.
class Canvas {
 public:
  /// Pitches are the rows' bytes and so many more. Every byte gets a value that depends on its place.
  Canvas(Size frame, int yExtra, int uvExtra);
  ~Canvas();
  Canvas(const Canvas&) = delete;
  Canvas& operator=(const Canvas&) = delete;

  Size frame() const { return frame_; }
  IRenderBackend::MappedPlanes planes() const;

  /// Where the bytes lie that they should hold.
  model::Planes expected();

  /// Ends the process if a byte is not what it should be.
  void check() const;

 private:
  struct Plane {
    Plane(int rowBytes, int rows, int extra);
    ~Plane();
    Plane(const Plane&) = delete;
    Plane& operator=(const Plane&) = delete;

    unsigned char* samples() const;
    void check(const char* what) const;

    int pitch;
    unsigned char* memory = nullptr;
    std::vector<std::uint8_t> expected;
  };

  Size frame_;
  Plane luma_;
  Plane chroma_;
};

/// The stream that a fuzzer draws on: one for the process, without order to the null stream.
cudaStream_t theStream();

}  // namespace fuzz
