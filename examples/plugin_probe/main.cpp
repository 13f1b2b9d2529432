// Loads a plug-in library as hosts do and prints the plug-in's name, id and payload types. Needs no GPU and
// calls nothing of the picture library: it is for a board on which the plug-in has just been built.

#include <class_loader/class_loader.hpp>
#include <exception>
#include <iostream>
#include <string>

#include "render_base/IRenderPlugin.h"

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: plugin_probe libseg_mask_overlay.so\n";
    return 2;
  }
  try {
    class_loader::ClassLoader loader(argv[1]);
    const auto plugin = loader.createUniqueInstance<IRenderPlugin>("SegMaskOverlayPlugin");
    plugin->setConfig("{}");
    std::cout << plugin->getName() << ", id " << plugin->getUuid() << ", takes";
    for (const std::string& type : plugin->input_types()) std::cout << ' ' << type;
    std::cout << '\n';
    return 0;
  } catch (const std::exception& error) {
    std::cerr << "plugin_probe: " << error.what() << '\n';
    return 1;
  }
}
