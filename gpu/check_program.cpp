#include "gpu/check_program.h"

#include <cuda_runtime.h>

#include <cstdlib>
#include <exception>
#include <iostream>
#include <string>

namespace gpu_check {
namespace {

constexpr int kSkipped = 77;  // what CTest is told to read as "skipped"

/// Whether all is equal; says so, or what is not.
bool run(const std::vector<Check>& checks, const Effort& effort) {
  int failed = 0;
  int cases = 0;
  for (const Check& check : checks) {
    try {
      const int done = check.body(effort);
      std::cout << "ok      " << check.name << ", " << done << " cases\n";
      cases += done;
    } catch (const std::exception& error) {
      std::cout << "FAILED  " << check.name << " (seed " << effort.seed << "): " << error.what() << '\n';
      ++failed;
    }
  }
  if (failed == 0) std::cout << "host and device agree in all " << cases << " cases\n";
  return failed == 0;
}

std::string usage(const std::string& program) {
  return "usage: " + program +
         " [--quick] [--seed N]\n"
         "Draws with the device and with the host and compares every byte.\n"
         "  --quick   a twentieth of the random cases and few large ones, for compute-sanitizer\n"
         "  --seed N  another choice of random cases (1 is the default)\n"
         "Exit code: 0 all equal, 1 a difference or a CUDA error, 2 bad arguments, 77 no CUDA device\n";
}

}  // namespace

int checkProgram(const char* program, const std::vector<Check>& checks, int argc, char** argv) {
  Effort effort{1, false};
  for (int i = 1; i < argc; ++i) {
    const std::string argument = argv[i];
    if (argument == "--help" || argument == "-h") {
      std::cout << usage(program);
      return 0;
    }
    if (argument == "--quick") {
      effort.quick = true;
    } else if (argument == "--seed" && i + 1 < argc) {
      char* end = nullptr;
      effort.seed = static_cast<unsigned>(std::strtoul(argv[++i], &end, 10));
      if (*end == '\0' && end != argv[i]) continue;
      std::cerr << program << ": --seed: '" << argv[i] << "' is no number\n";
      return 2;
    } else {
      std::cerr << program << ": unknown argument '" << argument << "'\n" << usage(program);
      return 2;
    }
  }
  int devices = 0;
  if (cudaGetDeviceCount(&devices) != cudaSuccess || devices == 0) {
    std::cout << "skipped: no CUDA device\n";
    return kSkipped;
  }
  return run(checks, effort) ? 0 : 1;
}

}  // namespace gpu_check
