#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "core/SwJsonObject.h"
#include "core/SwJsonValue.h"
#include "core/SwString.h"

/// Appends JSON text to a string. The containers it stands in are on a stack of its own, so a tree may be as
/// deep as memory allows.
class SwJsonGenerator {
 public:
  enum class Layout { Compact, Indented };

  /// `level` is the nesting level of what is appended; a negative one counts as 0. An empty `key` is for
  /// plain JSON; another one encrypts. `out` and `key` must outlive the generator.
  SwJsonGenerator(SwString& out, Layout layout, int level, const SwString& key);

  void append(const SwJsonValue& value);
  void append(const SwJsonObject& object);
  void append(const SwJsonArray& array);

 private:
  /// A container whose opening bracket is written, and what comes next in it. One of the two pointers is set.
  struct Open {
    const SwJsonObject* object;
    const SwJsonArray* array;
    SwJsonObject::const_iterator nextMember;
    std::size_t nextElement;
  };

  void begin(const SwJsonValue& value);
  void begin(const SwJsonObject& object);
  void begin(const SwJsonArray& array);
  void finishOpen();
  const SwJsonValue* beginNext(Open& open);
  void beginLine(std::size_t level);
  void appendScalar(const std::string& text);
  void appendString(const std::string& text);
  void appendQuoted(const std::string& text);

  SwString& out_;
  Layout layout_;
  std::size_t level_;
  const SwString& key_;
  std::vector<Open> open_;
};
