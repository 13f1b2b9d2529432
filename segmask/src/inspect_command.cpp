#include <iostream>

#include "host/PluginHost.h"
#include "src/commands.h"

namespace segmask {
namespace {

/// The text without leading and trailing line ends.
std::string trimmed(const std::string& text) {
  const std::size_t first = text.find_first_not_of("\r\n");
  if (first == std::string::npos) return {};
  return text.substr(first, text.find_last_not_of("\r\n") - first + 1);
}

}  // namespace

int inspect(const PluginChoice& choice) {
  const std::string path = choice.path();
  PluginHost host(path);
  IRenderPlugin& plugin = host.plugin();

  std::cout << "library       " << path << "\n";
  for (const std::string& name : host.classes()) std::cout << "class         " << name << "\n";
  std::cout << "name          " << plugin.getName() << "\n"
            << "id            " << plugin.getUuid() << "\n";
  for (const std::string& type : plugin.input_types()) std::cout << "input type    " << type << "\n";
  for (const RenderInputRequirement& requirement : plugin.input_requirements()) {
    std::cout << "requirement   " << requirement.type << " (flag: " << (requirement.flag ? "true" : "false")
              << ")\n";
  }
  std::cout << "configuration\n" << trimmed(plugin.getConfigList()) << "\n" << std::flush;
  return kExitDone;
}

}  // namespace segmask
