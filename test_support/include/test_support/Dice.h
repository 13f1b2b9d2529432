#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <random>
#include <vector>

namespace scene {

/// Chance that is the same everywhere for the same seed: the standard distributions differ from library to
/// library.
class Dice {
 public:
  explicit Dice(unsigned seed) : engine_(seed) {}

  /// Both ends included.
  int between(int low, int high) {
    const auto span = static_cast<uint32_t>(high - low) + 1U;
    return low + static_cast<int>(engine_() % span);
  }
  bool oneIn(int n) { return between(1, n) == 1; }

  template <class T, std::size_t Count>
  T oneOf(const std::array<T, Count>& values) {
    return values[static_cast<std::size_t>(between(0, static_cast<int>(Count) - 1))];
  }
  template <class T>
  T oneOf(const std::vector<T>& values) {
    return values[static_cast<std::size_t>(between(0, static_cast<int>(values.size()) - 1))];
  }

  /// Any 32 bits.
  uint32_t bits() { return static_cast<uint32_t>(engine_()); }

 private:
  std::mt19937 engine_;
};

}  // namespace scene
