#pragma once

// The text of the kernel that draws all items of a frame (host_threads.h).

#include "blend/fused_block.h"
#include "blend/fused_frame.h"
#include "tests/cuda/host_threads.h"

#define __global__
#include "segmask_fused_kernel.inc"
#undef __global__
