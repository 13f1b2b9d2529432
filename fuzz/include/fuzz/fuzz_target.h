#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "test_support/scene.h"

/// What every fuzz_<thing>.cpp defines: feeds one input to the thing and checks what comes of it against an
/// independent model. Under libFuzzer it is called with ever new inputs, under replay_main.cpp with those of
/// the corpus.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace fuzz {

/// Ends the process with `what` on standard error. Not by way of std::cerr, which the fuzzers capture.
[[noreturn]] inline void fail(const std::string& what) {
  std::fprintf(stderr, "check failed: %s\n", what.c_str());
  std::abort();
}

inline void check(bool holds, const char* what) {
  if (!holds) fail(what);
}

inline void checkEqual(const std::string& actual, const std::string& expected, const char* what) {
  if (actual == expected) return;
  fail(std::string(what) + "\n  is       " + scene::printable(actual) + "\n  expected " +
       scene::printable(expected));
}

}  // namespace fuzz
