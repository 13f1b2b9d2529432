#pragma once

#include <string>

#include "core/export.h"

namespace sw_number {

/// Reads the floating-point number at the start of `text` into `out`. Takes and refuses exactly what
/// std::stod does in the "C" locale, whatever locale the process has set: leading white space is skipped,
/// decimal, hexadecimal, "inf" and "nan" forms are read, bytes after the number are ignored. False, with
/// `out` untouched, if there is no number or the C library calls it out of range. Throws nothing; safe from
/// any thread.
SW_CORE_EXPORT bool toDouble(const std::string& text, double& out) noexcept;

}  // namespace sw_number
