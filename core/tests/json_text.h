#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <string>

#include "core/SwJsonDocument.h"

namespace json_text {

/// The value of a whole text. An error, or a text that goes on, fails the test.
inline SwJsonValue parsed(const SwString& text, const SwString& key = "") {
  SwString error;
  unsigned long index = 0;
  SwJsonValue value = SwJsonDocument().parseJson(text, index, key, error);
  EXPECT_EQ(error, "") << text.str();
  EXPECT_EQ(index, text.size()) << text.str();
  return value;
}

inline std::string generated(const SwJsonValue& value, const SwString& key = "", bool indented = false,
                             int level = 0) {
  SwString out;
  SwJsonDocument().generateJson(value, out, indented, level, key);
  return out;
}

inline std::string repeated(const std::string& text, std::size_t count) {
  std::string result;
  result.reserve(text.size() * count);
  for (std::size_t i = 0; i < count; ++i) result += text;
  return result;
}

}  // namespace json_text
