#include "zelvo/transfer.h"

#include "src/CudaError.h"
#include "src/PlaneLayout.h"
#include "src/picture_copy.h"
#include "zelvo/ZelvoPicture.h"

namespace zelvo {
namespace {

template <class Byte>
Nv12Side<Byte> packedSide(Byte* packed, int width, int height) {
  const PictureLayout layout = layoutOf(width, height);
  return {packed, packed + layout.luma.packedBytes(), layout.luma.rowBytes, layout.chroma.rowBytes};
}

}  // namespace

void upload(ZelvoPicture& picture, const unsigned char* packed, CUstream_st* stream) {
  const int width = picture.width();
  const int height = picture.height();
  if (packedNv12Bytes(width, height) == 0) return;
  const Nv12Source from = packedSide(packed, width, height);
  throwOnError(copyNv12(targetOf(picture), from, width, height, cudaMemcpyHostToDevice, stream),
               "uploading a picture");
}

void download(const ZelvoPicture& picture, unsigned char* packed, CUstream_st* stream) {
  const int width = picture.width();
  const int height = picture.height();
  if (packedNv12Bytes(width, height) == 0) return;
  const Nv12Target to = packedSide(packed, width, height);
  throwOnError(copyNv12(to, sourceOf(picture), width, height, cudaMemcpyDeviceToHost, stream),
               "downloading a picture");
}

}  // namespace zelvo
