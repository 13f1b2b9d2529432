#include "test_support/overlay_facts.h"

#include <array>
#include <filesystem>
#include <stdexcept>

#include "test_support/plugin_harness.h"

namespace plugin_test {
namespace {

const std::array<OverlayFacts, 2>& allFacts() {
  static const std::array<OverlayFacts, 2> facts = {{
      {"libseg_mask_overlay.so",
       {"cudaMalloc", "cudaMemcpyAsync", "cudaLaunchHostFunc", "cudaMemcpyAsync", "cudaLaunchHostFunc"},
       {"cudaMemcpyAsync", "cudaLaunchHostFunc", "cudaMemcpyAsync", "cudaLaunchHostFunc"},
       {"cudaMalloc"},
       {"cudaFree"},
       /*draws_one_by_one=*/true,
       /*launches_an_upload=*/2,
       /*keeps_frame_masks=*/true,
       /*frees_outgrown_memory=*/true,
       /*allocations_a_detection=*/2},
      {"libseg_mask_overlay_fused.so",
       {"cudaEventCreateWithFlags", "cudaHostAlloc", "cudaMalloc", "cudaMemcpyAsync", "cudaLaunchHostFunc",
        "cudaEventRecord"},
       {"cudaPeekAtLastError", "cudaEventQuery", "cudaMemcpyAsync", "cudaLaunchHostFunc", "cudaEventRecord"},
       {},
       {"cudaEventSynchronize", "cudaEventDestroy", "cudaFreeHost", "cudaFree"},
       /*draws_one_by_one=*/false,
       /*launches_an_upload=*/1,
       /*keeps_frame_masks=*/false,
       /*frees_outgrown_memory=*/false,
       /*allocations_a_detection=*/0},
  }};
  return facts;
}

}  // namespace

const OverlayFacts& overlayFacts() {
  const std::string file = std::filesystem::path(pluginPath()).filename();
  for (const OverlayFacts& facts : allFacts()) {
    if (file == facts.file) return facts;
  }
  throw std::out_of_range("no facts of " + file);
}

}  // namespace plugin_test
