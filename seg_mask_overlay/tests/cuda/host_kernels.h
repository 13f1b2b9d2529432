#pragma once

// The text of the two kernels that draw one item (host_threads.h).

#include "blend/launch_geometry.h"
#include "blend/nv12_blend.h"
#include "tests/cuda/host_threads.h"

#define __global__
#include "segmask_kernels.inc"
#undef __global__
