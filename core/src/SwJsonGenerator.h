#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "core/SwJsonObject.h"
#include "core/SwJsonValue.h"
#include "core/SwString.h"
#include "src/StagedText.h"
#include "src/TextCipher.h"

/// Writes the JSON text of values. The containers it stands in are on a stack of its own, so a tree may be as
/// deep as memory allows.
class SwJsonGenerator {
 public:
  enum class Layout { Compact, Indented };

  /// `level` is the nesting level of what is appended; a negative one counts as 0. An empty `key` is for
  /// plain JSON; another one encrypts. `key` must outlive the generator.
  SwJsonGenerator(Layout layout, int level, const SwString& key);

  void append(const SwJsonValue& value);
  void append(const SwJsonObject& object);
  void append(const SwJsonArray& array);

  /// What was appended; the generator gives it away.
  std::string takeText() { return std::move(text_.whole()); }

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
  void appendScalar(const SwJsonValue& value);
  void appendInteger(int64_t number);
  void appendNumber(double number);
  void appendEncrypted(std::string plainText);
  void appendString(const std::string& text);
  void appendQuoted(const std::string& text);

  Layout layout_;
  std::size_t level_;
  bool isKeyed_;
  TextCipher cipher_;
  std::vector<Open> open_;
  StagedText text_;
};
