#pragma once

/// Marks what libcudart_cpu.so offers; everything else in it is hidden.
#define CUDART_CPU_EXPORT __attribute__((visibility("default")))
