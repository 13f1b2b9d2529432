#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "src/PlaneLayout.h"

namespace zelvo {

/// Whether planes are surrounded with guard bytes: before the first row, after the last, and between the end
/// of each row and its pitch.
constexpr bool kGuardBytes = SEG_MASK_GUARD_BYTES != 0;

/// Guard bytes before a plane, and again after it. A multiple of the device's alignment, so that the samples
/// stay aligned.
constexpr std::size_t kGuardMargin = kGuardBytes ? 256 : 0;

/// Fills a whole device allocation with guard bytes and waits until they are there. Throws
/// std::runtime_error.
void fillWithGuardBytes(unsigned char* allocation, std::size_t bytes);

/// The lowest address in `allocation`, of kGuardMargin + plane + kGuardMargin bytes, whose guard byte was
/// overwritten: as an offset from the plane's first sample, so negative before it. Nothing when all are
/// whole, or when they cannot be read back. The caller has waited for all work on the plane.
std::optional<std::ptrdiff_t> firstDamagedByte(const unsigned char* allocation, const PlaneLayout& plane);

/// Passes one line to the function of setGuardReport, or writes it to the standard error stream and aborts.
void reportDamage(const std::string& line);

}  // namespace zelvo
