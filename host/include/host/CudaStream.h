#pragma once

struct CUstream_st;

namespace segmask {

/// Owns a CUDA stream that is not ordered with the default stream. The destructor waits for its remaining
/// work.
class CudaStream {
 public:
  /// Throws UserError when there is no usable device.
  CudaStream();
  ~CudaStream();
  CudaStream(const CudaStream&) = delete;
  CudaStream& operator=(const CudaStream&) = delete;

  CUstream_st* get() const { return stream_; }

 private:
  CUstream_st* stream_ = nullptr;
};

}  // namespace segmask
