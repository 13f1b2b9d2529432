#pragma once

/// Marks the exported symbols of libcudart_cpu.so; all others are hidden.
#define CUDART_CPU_EXPORT __attribute__((visibility("default")))
