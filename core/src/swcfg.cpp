#include "core/swcfg.h"

#include <algorithm>
#include <iterator>
#include <utility>
#include <vector>

#include "core/SwString.h"
#include "src/ascii.h"

namespace {

std::string withoutSpaceAround(const std::string& name) {
  const auto isNoSpace = [](char byte) { return !ascii::isSpace(byte); };
  const auto first = std::find_if(name.begin(), name.end(), isNoSpace);
  const auto last = std::find_if(name.rbegin(), std::make_reverse_iterator(first), isNoSpace).base();
  return std::string(first, last);
}

std::vector<std::string> namesOf(std::string path) {
  std::replace(path.begin(), path.end(), '\\', '/');
  std::vector<std::string> names;
  for (const SwString& piece : SwString(std::move(path)).split('/')) {
    std::string name = withoutSpaceAround(piece);
    if (!name.empty()) names.push_back(std::move(name));
  }
  return names;
}

}  // namespace

bool swcfg::getValue(const SwJsonObject& root, const std::string& path, SwJsonValue& out) {
  const SwJsonObject* object = &root;
  const SwJsonValue* value = nullptr;
  for (const std::string& name : namesOf(path)) {
    if (!object) return false;
    value = object->find(name);
    if (!value) return false;
    object = value->object();
  }
  if (!value) return false;
  out = *value;
  return true;
}
