#include "src/command_line.h"

int main(int argc, char** argv) {
  return segmask::runCommandLine(argc, argv);
}
