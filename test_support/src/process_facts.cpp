#include "test_support/process_facts.h"

#include <malloc.h>

#include <filesystem>
#include <fstream>
#include <iterator>

namespace process_facts {
namespace {

std::ifstream mapsFile() {
  return std::ifstream("/proc/self/maps");
}

}  // namespace

bool isMapped(const std::string& file) {
  std::ifstream maps = mapsFile();
  const std::string name = file.substr(file.rfind('/') + 1);
  for (std::string line; std::getline(maps, line);) {
    if (line.find(name) != std::string::npos) return true;
  }
  return false;
}

std::size_t mappings() {
  std::ifstream maps = mapsFile();
  std::size_t count = 0;
  for (std::string line; std::getline(maps, line);) ++count;
  return count;
}

std::size_t openFiles() {
  const std::filesystem::directory_iterator files("/proc/self/fd");
  return static_cast<std::size_t>(std::distance(begin(files), end(files)));
}

std::size_t allocatedBytes() {
  const struct mallinfo2 info = mallinfo2();
  return info.uordblks + info.hblkhd;
}

}  // namespace process_facts
