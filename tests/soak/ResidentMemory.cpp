#include "soak/ResidentMemory.h"

#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <stdexcept>

namespace soak {
namespace {

double residentBytes() {
  std::ifstream file("/proc/self/statm");
  uint64_t mapped = 0;
  uint64_t resident = 0;
  if (!(file >> mapped >> resident)) throw std::runtime_error("/proc/self/statm cannot be read");
  return static_cast<double>(resident) * static_cast<double>(sysconf(_SC_PAGESIZE));
}

}  // namespace

void ResidentMemory::sample(uint64_t frame) {
  Sum& sum = quarters_[std::min<std::size_t>(3, static_cast<std::size_t>(4 * frame / frames_))];
  sum.bytes += residentBytes();
  ++sum.samples;
}

double ResidentMemory::meanOfQuarter(std::size_t quarter) const {
  const Sum& sum = quarters_[quarter];
  return sum.samples == 0 ? 0 : sum.bytes / static_cast<double>(sum.samples);
}

}  // namespace soak
