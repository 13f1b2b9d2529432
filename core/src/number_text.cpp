#include "core/number_text.h"

#include "src/c_locale.h"

bool sw_number::toDouble(const std::string& text, double& out) noexcept {
  std::size_t consumed = 0;
  return c_locale::toDouble(text, out, consumed);
}
