// Linked into each test program of a cross build. The kernel cannot run what such a build makes, so a program
// that a test starts, itself for a death test or the tool, is run by the emulator that runs the test.

#include <unistd.h>

#include <vector>

extern "C" int execv(const char* path, char* const argv[]) noexcept {
  std::vector<const char*> command = {SEG_MASK_EMULATOR, "-0", argv[0], path};
  for (char* const* argument = argv + 1; *argument != nullptr; ++argument) command.push_back(*argument);
  command.push_back(nullptr);
  return execvp(SEG_MASK_EMULATOR, const_cast<char* const*>(command.data()));
}
