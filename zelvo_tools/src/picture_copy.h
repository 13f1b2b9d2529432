#pragma once

#include <cuda_runtime_api.h>

#include <cstddef>

namespace zelvo {

class ZelvoPicture;

/// One side of an NV12 copy: where the planes begin and how far their rows are apart. Host or device memory;
/// `Byte` is const on the side that is read.
template <class Byte>
struct Nv12Side {
  Byte* y;
  Byte* uv;
  std::size_t yPitch;
  std::size_t uvPitch;
};
using Nv12Target = Nv12Side<unsigned char>;
using Nv12Source = Nv12Side<const unsigned char>;

/// A picture's planes as either side of a copy. Only code that may write the picture uses targetOf.
Nv12Target targetOf(const ZelvoPicture& picture);
Nv12Source sourceOf(const ZelvoPicture& picture);

/// Copies a `width` x `height` picture on `stream` and waits for the stream, also when a part of it failed,
/// so that nothing reads or writes either side after the return. Returns the first error.
cudaError_t copyNv12(const Nv12Target& to, const Nv12Source& from, int width, int height, cudaMemcpyKind kind,
                     cudaStream_t stream);

}  // namespace zelvo
