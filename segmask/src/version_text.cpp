#include "src/version_text.h"

#if !SEG_MASK_CPU_DEVICE
#include <cuda_runtime_api.h>
#endif

#include <algorithm>
#include <opencv2/core/utility.hpp>
#include <opencv2/core/version.hpp>

#include "video/libav_versions.h"

namespace segmask {
namespace {

#if !SEG_MASK_CPU_DEVICE
/// 12060 is 12.6.
std::string cudaVersion(int packed) {
  return std::to_string(packed / 1000) + "." + std::to_string(packed % 1000 / 10);
}

std::string deviceLines() {
  int loaded = 0;
  const bool isKnown = cudaRuntimeGetVersion(&loaded) == cudaSuccess;
  return versionLine("device", "cuda", "cuda") +
         versionLine("CUDA runtime", isKnown ? cudaVersion(loaded) : "unknown", cudaVersion(CUDART_VERSION));
}
#else
std::string deviceLines() {
  return versionLine("device", "cpu", "cpu");
}
#endif

std::string libavVersion(unsigned packed) {
  return std::to_string(packed >> 16U) + "." + std::to_string(packed >> 8U & 0xFFU) + "." +
         std::to_string(packed & 0xFFU);
}

}  // namespace

std::string versionLine(const std::string& label, const std::string& loaded, const std::string& built) {
  constexpr std::size_t kLabelColumns = 14;
  const std::string gap(kLabelColumns - std::min(kLabelColumns - 1, label.size()), ' ');
  return label + gap + loaded + (loaded == built ? "" : " (built with " + built + ")") + "\n";
}

std::string versionText() {
  std::string text = versionLine("segmask", SEGMASK_VERSION, SEGMASK_VERSION) + deviceLines() +
                     versionLine("OpenCV", cv::getVersionString(), CV_VERSION);
  for (const LibavVersion& library : libavVersions()) {
    text += versionLine(library.name, libavVersion(library.loaded), libavVersion(library.built));
  }
  text.pop_back();
  return text;
}

}  // namespace segmask
