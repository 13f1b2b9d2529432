#include <malloc.h>

#include "io/FileDescriptor.h"
#include "src/command_line.h"

namespace {

/// Keeps memory that was freed for the next frame, in pieces of up to 4 MiB, up to 128 MiB in each of the C
/// library's heaps. Masks of the frame's size are texts of hundreds of kilobytes, which it would take from
/// the system and give back for each frame.
void keepFreedMemory() {
#ifdef __GLIBC__
  // NOLINTBEGIN(concurrency-mt-unsafe): there is one thread so far
  mallopt(M_MMAP_THRESHOLD, 4 << 20);
  mallopt(M_TRIM_THRESHOLD, 128 << 20);
  // NOLINTEND(concurrency-mt-unsafe)
#endif
}

}  // namespace

int main(int argc, char** argv) {
  keepFreedMemory();
  segmask::occupyClosedStandardStreams();
  return segmask::runCommandLine(argc, argv);
}
