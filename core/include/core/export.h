#pragma once

/// Marks what libsw_core.so offers. The library is compiled with hidden visibility, so a function without the
/// mark cannot be called from outside it.
#define SW_CORE_EXPORT __attribute__((visibility("default")))
