#include "test_support/photographs.h"

#include <cstdlib>
#include <fstream>

std::string photographAnnotations() {
  const char* const folder = std::getenv("SEG_MASK_DATA");
  return std::string(folder ? folder : PHOTOGRAPH_DATA) + "/coco/instances.json";
}

std::map<int64_t, uint64_t> photographMaskDigests() {
  std::map<int64_t, uint64_t> digests;
  std::ifstream file(PHOTOGRAPH_DIGESTS);
  int64_t annotation = 0;
  for (uint64_t digest = 0; file >> annotation >> digest;) digests[annotation] = digest;
  return digests;
}

uint64_t textDigest(const std::string& text) {
  uint64_t hash = 14695981039346656037U;
  for (const char byte : text) hash = (hash ^ static_cast<unsigned char>(byte)) * 1099511628211U;
  return hash;
}
