#pragma once

#include <cstddef>

#include "zelvo/export.h"

struct CUstream_st;

namespace zelvo {

class ZelvoPicture;

/// Bytes of a tightly packed NV12 frame: width x height luma bytes, then (height + 1) / 2 rows of 2 x ((width
/// + 1) / 2) chroma bytes. 0 when a dimension is not positive.
ZELVO_EXPORT std::size_t packedNv12Bytes(int width, int height);

/// Copies a tightly packed NV12 frame of the picture's size from host memory into the picture, after the work
/// already queued on `stream`, and waits for it. Throws std::runtime_error, naming the CUDA error, when a
/// copy fails.
ZELVO_EXPORT void upload(ZelvoPicture& picture, const unsigned char* packed, CUstream_st* stream);

/// The reverse: copies the picture to host memory, after the work already queued on `stream`, and waits for
/// it.
ZELVO_EXPORT void download(const ZelvoPicture& picture, unsigned char* packed, CUstream_st* stream);

}  // namespace zelvo
