// Writes the manual page and the completion of `segmask` into the folder that is its only argument.

#include <exception>
#include <fstream>
#include <iostream>
#include <string>

#include "src/command_line.h"
#include "src/pages/bash_completion.h"
#include "src/pages/manual_page.h"

namespace {

void write(const std::string& path, const std::string& text) {
  std::ofstream file(path, std::ios::binary);
  file << text;
  if (!file.flush()) throw std::runtime_error(path + ": cannot be written");
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: segmask_pages FOLDER\n";
    return 2;
  }
  try {
    const std::string folder = argv[1];
    segmask::describeCommandLine([&folder](const CLI::App& app) {
      write(folder + "/segmask.1", segmask::manualPage(app, SEGMASK_VERSION, SEGMASK_DATE));
      write(folder + "/segmask.bash", segmask::bashCompletion(app));
    });
    return 0;
  } catch (const std::exception& error) {
    std::cerr << "segmask_pages: " << error.what() << '\n';
    return 1;
  }
}
