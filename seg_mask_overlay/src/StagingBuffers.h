#pragma once

#include <cuda_runtime.h>

#include <array>
#include <cstddef>
#include <vector>

namespace seg_mask_overlay {

/// Host memory out of which frames are uploaded: page-locked buffers, each with an event that tells when the
/// device has done with its frame. A buffer is never waited for; while all of them are in use, a frame gets
/// pageable memory, which the driver has read when the upload's call returns.
class StagingBuffers {
 public:
  /// Page-locked buffers at most: one that is written, and those of three frames that the device is behind.
  static constexpr std::size_t kBuffers = 4;

  /// The memory of one frame.
  class Buffer {
   public:
    unsigned char* bytes() const { return bytes_; }

   private:
    friend class StagingBuffers;

    unsigned char* bytes_ = nullptr;
    std::size_t capacity_ = 0;
    cudaEvent_t done_ = nullptr;
    bool in_use_ = false;  ///< until the event has come
    bool lost_ = false;    ///< in use, and no event tells until when
  };

  StagingBuffers() = default;
  StagingBuffers(const StagingBuffers&) = delete;
  StagingBuffers& operator=(const StagingBuffers&) = delete;

  /// Waits until the device has done with every frame that was guarded, then frees the buffers. Makes no call
  /// if there is none.
  ~StagingBuffers();

  /// A buffer of at least `bytes` bytes, aligned for any type, that no frame uses; valid until the next call.
  /// Null when the driver gives no memory or no event. Throws std::bad_alloc when pageable memory runs out.
  Buffer* acquire(std::size_t bytes);

  /// Keeps the buffer until the work that is queued on the stream up to here is done, which the destructor
  /// waits for.
  void guard(Buffer& buffer, cudaStream_t stream);

 private:
  Buffer* findFree();
  static bool prepareEvent(Buffer& buffer);
  bool growPinned(Buffer& buffer, std::size_t bytes);
  void growPageable(std::size_t bytes);

  std::array<Buffer, kBuffers> pinned_;
  Buffer pageable_;  ///< its event only serves the destructor
  std::vector<unsigned char> pageable_memory_;
  std::vector<void*> outgrown_;  ///< pinned memory; freeing it may wait for the whole device
  bool unguarded_ = false;       ///< there is work that no event tells of
};

}  // namespace seg_mask_overlay
