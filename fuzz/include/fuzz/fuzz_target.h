#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

/// What every fuzz_<thing>.cpp defines: feeds one input to the thing and checks what comes of it against an
/// independent model. Under libFuzzer it is called with ever new inputs, under replay_main.cpp with those of
/// the corpus.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace fuzz {

/// The bytes with everything but printable ASCII written as \xNN.
inline std::string printable(const std::string& bytes) {
  std::string text;
  for (const char byte : bytes) {
    if (byte >= ' ' && byte <= '~') {
      text += byte;
    } else {
      char escape[8];
      std::snprintf(escape, sizeof(escape), "\\x%02X",
                    static_cast<unsigned>(static_cast<unsigned char>(byte)));
      text += escape;
    }
  }
  return text;
}

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
  fail(std::string(what) + "\n  is       " + printable(actual) + "\n  expected " + printable(expected));
}

}  // namespace fuzz
