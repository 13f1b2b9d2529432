#pragma once

// Stands in for the CUDA runtime, so that a compiled CUDA source can be linked and run where there is no GPU:
// no kernel is executed, every call is written down. It answers the calls that CUDA 12's compiler generates
// for a launch and those of CUDA 13's, and what drawing a frame calls besides, with memory of the host in
// place of the device's. For one thread at a time.

#include <cstddef>
#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/cuda/device_image.h"

namespace launch_recorder {

/// Blocks of a grid or threads of a block.
struct Extent {
  unsigned x, y, z;
};

inline bool operator==(const Extent& a, const Extent& b) {
  return a.x == b.x && a.y == b.y && a.z == b.z;
}

/// A kernel launch as the runtime was asked for it.
struct Launch {
  std::string kernel;  ///< as the source spells it, with its parameters' types
  Extent grid;
  Extent block;
  std::size_t dynamicSharedBytes;
  void* stream;
  std::vector<device_image::Parameter> parameters;  ///< as the machine code says
  std::vector<char> parameterBlock;                 ///< what the kernel would get, laid out by `parameters`

  /// The value of the i-th parameter. Throws std::logic_error when there is none of T's size.
  template <class T>
  T argument(std::size_t i) const {
    T value;
    std::memcpy(&value, parameterBlock.data() + offsetOf(i, sizeof value), sizeof value);
    return value;
  }

  /// Replaces it. Throws like argument().
  template <class T>
  void setArgument(std::size_t i, T value) {
    std::memcpy(parameterBlock.data() + offsetOf(i, sizeof value), &value, sizeof value);
  }

 private:
  std::size_t offsetOf(std::size_t i, std::size_t size) const {
    if (i >= parameters.size() || parameters[i].size != size) throw std::logic_error("no such parameter");
    return parameters[i].offset;
  }
};

/// Begins anew: no launches and calls so far, nothing fails.
void reset();

/// Since reset(), in order.
const std::vector<Launch>& launches();

/// The runtime's functions that were called since reset(), in order.
const std::vector<std::string>& calls();

/// Lets the n-th configuration from now on fail to be pushed; the first is 1.
void failPush(int n);

/// Lets the n-th launch from now on fail; the first is 1. It is not among launches().
void failLaunch(int n);

/// What the program registered before main(), in order: the function called, and for a kernel its name.
const std::vector<std::string>& registrations();

/// The images that are registered and not yet unregistered.
std::size_t registeredImages();

/// From now on an unregistered image is reported on standard error: "unregistered, N left".
void reportUnregistering();

}  // namespace launch_recorder
