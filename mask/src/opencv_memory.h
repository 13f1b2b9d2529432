#pragma once

#include <new>
#include <opencv2/core.hpp>

namespace seg_mask {

/// Runs `work`. OpenCV's own exception for lack of memory leaves it as std::bad_alloc, everything else as it
/// is.
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
