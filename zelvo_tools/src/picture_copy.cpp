#include "src/picture_copy.h"

#include "src/PlaneLayout.h"
#include "zelvo/ZelvoPicture.h"

namespace zelvo {

Nv12Target targetOf(const ZelvoPicture& picture) {
  return {picture.yPlane(), picture.uvPlane(), static_cast<std::size_t>(picture.yPitch()),
          static_cast<std::size_t>(picture.uvPitch())};
}

Nv12Source sourceOf(const ZelvoPicture& picture) {
  const Nv12Target planes = targetOf(picture);
  return {planes.y, planes.uv, planes.yPitch, planes.uvPitch};
}

cudaError_t copyNv12(const Nv12Target& to, const Nv12Source& from, int width, int height, cudaMemcpyKind kind,
                     cudaStream_t stream) {
  const PictureLayout layout = layoutOf(width, height);
  cudaError_t error = cudaMemcpy2DAsync(to.y, to.yPitch, from.y, from.yPitch, layout.luma.rowBytes,
                                        layout.luma.rows, kind, stream);
  if (error == cudaSuccess) {
    error = cudaMemcpy2DAsync(to.uv, to.uvPitch, from.uv, from.uvPitch, layout.chroma.rowBytes,
                              layout.chroma.rows, kind, stream);
  }
  const cudaError_t waited = cudaStreamSynchronize(stream);
  return error != cudaSuccess ? error : waited;
}

}  // namespace zelvo
