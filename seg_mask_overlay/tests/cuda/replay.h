#pragma once

// What the tests share that run recorded launches on the host: frames with guard bytes around their samples,
// dice, and the threads of a launch, which run a kernel's own text or what the compiler made of it.

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <functional>
#include <iterator>
#include <limits>
#include <ostream>
#include <random>
#include <string>
#include <vector>

#include "tests/cuda/launch_recorder.h"
#include "tests/cuda/ptx_kernel.h"

namespace replay {

using launch_recorder::Extent;
using launch_recorder::Launch;

using Random = std::mt19937;

inline int between(Random& random, int low, int high) {
  return std::uniform_int_distribution<int>(low, high)(random);
}

inline unsigned char randomByte(Random& random) {
  return static_cast<unsigned char>(between(random, 0, 255));
}

/// Rows of bytes with gaps between them, and more bytes before and after.
class Plane {
 public:
  Plane() = default;
  Plane(int width, int height, int pitch)
      : width_(width),
        height_(height),
        pitch_(pitch),
        bytes_(2 * kSurround + static_cast<std::size_t>(pitch) * static_cast<std::size_t>(height)) {}

  int pitch() const { return pitch_; }
  unsigned char* data() { return bytes_.data() + kSurround; }
  std::vector<unsigned char>& bytes() { return bytes_; }
  const std::vector<unsigned char>& bytes() const { return bytes_; }

  void fillAtRandom(Random& random) {
    for (unsigned char& byte : bytes_) byte = randomByte(random);
  }

  /// Calls handle(byte) for each byte that is not one of a row's `width`.
  template <class Handle>
  void forEachOutside(Handle handle) {
    for (std::size_t i = 0; i < bytes_.size(); ++i) {
      if (!isInside(i)) handle(bytes_[i]);
    }
  }

  bool isInside(std::size_t index) const {
    if (index < kSurround || index >= bytes_.size() - kSurround) return false;
    return static_cast<int>((index - kSurround) % static_cast<std::size_t>(pitch_)) < width_;
  }

 private:
  static constexpr std::size_t kSurround = 160;

  int width_ = 0, height_ = 0, pitch_ = 1;
  std::vector<unsigned char> bytes_;
};

inline float randomAlpha(Random& random) {
  using Limits = std::numeric_limits<float>;
  const float special[] = {0.0F,
                           -0.0F,
                           1.0F,
                           0.45F,
                           0.5F,
                           Limits::denorm_min(),
                           -Limits::denorm_min(),
                           Limits::min() / 2,
                           1.0F + Limits::epsilon(),
                           1.5F,
                           1000.0F,
                           Limits::max(),
                           -0.25F,
                           -Limits::max(),
                           Limits::quiet_NaN(),
                           Limits::infinity(),
                           -Limits::infinity()};
  const int kinds = static_cast<int>(std::size(special));
  const int kind = between(random, 0, 2 * kinds);
  return kind < kinds ? special[kind] : std::uniform_real_distribution<float>(0.0F, 1.0F)(random);
}

/// Runs one thread of a launch.
using RunThread = std::function<void(const Extent& block, const Extent& thread)>;

/// The kernel of that name in a file that the compiler wrote.
inline ptx::Kernel compiledKernel(const char* file_name, const std::string& name) {
  std::ifstream file(file_name);
  const std::string text{std::istreambuf_iterator<char>(file), {}};
  return {text, name};
}

/// One thread of a launch.
struct Thread {
  Extent block, thread;
};

/// All threads of a launch, block by block.
inline std::vector<Thread> threadsOf(const Launch& launch) {
  std::vector<Thread> threads;
  const auto forEach = [](const Extent& size, auto handle) {
    for (unsigned z = 0; z < size.z; ++z) {
      for (unsigned y = 0; y < size.y; ++y) {
        for (unsigned x = 0; x < size.x; ++x) handle(Extent{x, y, z});
      }
    }
  };
  forEach(launch.grid, [&](const Extent& block) {
    forEach(launch.block, [&](const Extent& thread) { threads.push_back({block, thread}); });
  });
  return threads;
}

/// What the threads run.
struct Code {
  const char* name;
  RunThread (*threadOf)(const Launch& launch);
};

inline void PrintTo(const Code& code, std::ostream* out) {
  *out << code.name;
}

inline void run(const Code& code, const Launch& launch, const std::vector<Thread>& threads) {
  const RunThread runThread = code.threadOf(launch);
  for (const auto& [block, thread] : threads) runThread(block, thread);
}

/// Runs the threads of a launch one by one, each of which writes bytes of 255 into planes of zeros.
inline void expectNoByteWrittenTwice(const Code& code, const Launch& launch,
                                     const std::vector<Plane*>& planes) {
  const RunThread runThread = code.threadOf(launch);
  std::vector<std::vector<bool>> written;
  for (const Plane* plane : planes) written.emplace_back(plane->bytes().size());
  for (const auto& [block, thread] : threadsOf(launch)) {
    runThread(block, thread);
    for (std::size_t i = 0; i < planes.size(); ++i) {
      std::vector<unsigned char>& bytes = planes[i]->bytes();
      for (auto at = bytes.begin(); (at = std::find(at, bytes.end(), 255)) != bytes.end(); *at = 0) {
        const auto index = static_cast<std::size_t>(at - bytes.begin());
        ASSERT_FALSE(written[i][index]) << "byte " << index << " is written by two threads";
        ASSERT_TRUE(planes[i]->isInside(index)) << "byte " << index << " is no sample";
        written[i][index] = true;
      }
    }
  }
}

}  // namespace replay
