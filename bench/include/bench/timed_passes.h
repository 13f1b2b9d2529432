#pragma once

// The command line that time_render and time_host share: a frame is drawn once for its bytes, then again and
// again for its time.

#include <cstdio>
#include <exception>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

/// The arguments, in their order.
struct TimedOptions {
  std::string library;
  int width;
  int height;
  std::string frame;
  std::string detections;
  int repetitions;
  std::string drawn;
};

inline std::string contentsOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) throw std::runtime_error("cannot read " + path);
  return {std::istreambuf_iterator<char>(file), {}};
}

/// A `Drawing` is made from the options; pass() draws and gives the milliseconds, pixels() what is drawn.
/// Prints the times as a JSON array. Returns the exit code.
template <class Drawing>
int timePasses(const char* name, const char* usage, int argc, char** argv) {
  if (argc != 8) {
    std::fputs(usage, stderr);
    return 2;
  }
  try {
    const TimedOptions options{
        argv[1], std::stoi(argv[2]), std::stoi(argv[3]), argv[4], argv[5], std::stoi(argv[6]), argv[7]};
    Drawing drawing(options);
    drawing.pass();
    const std::vector<unsigned char> pixels = drawing.pixels();
    std::ofstream file(options.drawn, std::ios::binary);
    file.write(reinterpret_cast<const char*>(pixels.data()), static_cast<std::streamsize>(pixels.size()));
    if (!file.flush()) throw std::runtime_error("cannot write " + options.drawn);
    for (int i = 0; i < options.repetitions; ++i) {
      std::printf("%s%.6f", i == 0 ? "[" : ", ", drawing.pass());
    }
    std::puts("]");
    return 0;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s: %s\n", name, error.what());
    return 1;
  }
}
