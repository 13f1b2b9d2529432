// Stands in for libFuzzer's main in ordinary builds: feeds each file of the corpus folders to the fuzz target
// once.

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <system_error>
#include <vector>

#include "fuzz/fuzz_target.h"

namespace {

namespace fs = std::filesystem;

// The files in the folder, in order of their names; none if it cannot be read.
std::vector<fs::path> inputsIn(const fs::path& folder) {
  std::vector<fs::path> inputs;
  std::error_code error;
  for (const fs::directory_entry& entry : fs::directory_iterator(folder, error)) {
    if (entry.is_regular_file()) inputs.push_back(entry.path());
  }
  std::sort(inputs.begin(), inputs.end());
  return inputs;
}

bool replay(const fs::path& input) {
  // Written before, so that whatever ends the process, the last line names the input.
  std::printf("replaying %s\n", input.c_str());
  std::fflush(stdout);
  std::ifstream file(input, std::ios::binary);
  const std::string bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  if (!file) {
    std::fprintf(stderr, "cannot read %s\n", input.c_str());
    return false;
  }
  LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fprintf(stderr, "usage: %s FOLDER_OR_FILE...\n", argv[0]);
    return 2;
  }
  for (int i = 1; i < argc; ++i) {
    const fs::path path = argv[i];
    const std::vector<fs::path> inputs = fs::is_regular_file(path) ? std::vector{path} : inputsIn(path);
    if (inputs.empty()) {
      std::fprintf(stderr, "no inputs in %s\n", path.c_str());
      return 1;
    }
    for (const fs::path& input : inputs) {
      if (!replay(input)) return 1;
    }
    std::printf("%zu inputs replayed\n", inputs.size());
  }
  return 0;
}
