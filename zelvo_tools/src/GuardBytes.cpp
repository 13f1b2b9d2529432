#include "src/GuardBytes.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <new>

#include "src/CudaError.h"
#include "zelvo/guard_bytes.h"

namespace zelvo {
namespace {

/// A value that drawing is unlikely to write: not black, white or mid-grey, nor a fill of zeros.
constexpr unsigned char kPattern = 0xB6;

std::atomic<GuardReport> guardReport{nullptr};

/// Offset in `bytes` of the first byte in [from, to) that is not the pattern; `to` when there is none.
std::size_t firstChanged(const unsigned char* bytes, std::size_t from, std::size_t to) {
  const auto isChanged = [](unsigned char byte) { return byte != kPattern; };
  return static_cast<std::size_t>(std::find_if(bytes + from, bytes + to, isChanged) - bytes);
}

}  // namespace

void fillWithGuardBytes(unsigned char* allocation, std::size_t bytes) {
  throwOnError(cudaMemsetAsync(allocation, kPattern, bytes, nullptr), "filling guard bytes");
  // A stream without order to the default stream could draw first otherwise.
  throwOnError(cudaStreamSynchronize(nullptr), "filling guard bytes");
}

std::optional<std::ptrdiff_t> firstDamagedByte(const unsigned char* allocation, const PlaneLayout& plane) {
  const std::size_t total = kGuardMargin + plane.bytes() + kGuardMargin;
  const std::unique_ptr<unsigned char[]> copy(new (std::nothrow) unsigned char[total]);
  if (!copy) return std::nullopt;
  if (cudaMemcpy(copy.get(), allocation, total, cudaMemcpyDeviceToHost) != cudaSuccess) return std::nullopt;

  // The guarded ranges lie between the rows: from the end of one row to the start of the next.
  std::size_t from = 0;
  for (std::size_t row = 0; row <= plane.rows; ++row) {
    const std::size_t to = row == plane.rows ? total : kGuardMargin + row * plane.pitch;
    const std::size_t changed = firstChanged(copy.get(), from, to);
    if (changed != to) {
      return static_cast<std::ptrdiff_t>(changed) - static_cast<std::ptrdiff_t>(kGuardMargin);
    }
    from = to + plane.rowBytes;
  }
  return std::nullopt;
}

void reportDamage(const std::string& line) {
  if (const GuardReport report = guardReport.load()) {
    report(line);
    return;
  }
  std::cerr << line << std::endl;
  std::abort();
}

GuardReport setGuardReport(GuardReport report) {
  return guardReport.exchange(report);
}

bool guardBytesEnabled() {
  return kGuardBytes;
}

}  // namespace zelvo
