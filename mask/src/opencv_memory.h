#pragma once

#include <new>
#include <opencv2/core.hpp>

namespace seg_mask {

/// Runs `work` and turns OpenCV's own exception for lack of memory into std::bad_alloc. Other exceptions pass
/// through.
template <class Work>
void withBadAlloc(const Work& work) {
  try {
    work();
  } catch (const cv::Exception& error) {
    if (error.code == cv::Error::StsNoMem) throw std::bad_alloc();
    throw;
  }
}

}  // namespace seg_mask
