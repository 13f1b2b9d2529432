#pragma once

#include <cstddef>
#include <optional>
#include <stack>
#include <string>
#include <vector>

#include "SwJsonCursor.h"
#include "core/SwJsonValue.h"
#include "core/SwString.h"

/// Parses one value. The containers that are open at the position stand on a stack of the parser's own, so a
/// text may nest them as deeply as memory allows.
class SwJsonParser {
 public:
  /// An empty `key` is for plain JSON; another one is the key of an encrypted document. Both must outlive the
  /// parser.
  SwJsonParser(SwJsonCursor& cursor, const SwString& key) : cursor_(cursor), key_(key) {}

  /// The value at the cursor, white space before it skipped; Null on an error, which the cursor then holds.
  /// To be called once.
  SwJsonValue parse();

 private:
  enum class Step { Value, Member, Element, Separator, Stop };

  /// An open container. Its finished values are those from `firstValue` on in values_; an open object's keys
  /// are the last ones in keys_.
  struct Open {
    bool isObject;
    std::size_t firstValue;
  };

  bool isKeyed() const noexcept { return !key_.empty(); }

  Step beginValue();
  Step beginMember();
  Step beginElement();
  Step passSeparator();

  Step openContainer(bool isObject);
  Step closeObject();
  Step closeArray();
  Step quotedText();
  std::optional<SwJsonValue> bareToken();
  std::optional<SwString> decrypt(std::string cipherText) const;
  Step literal(char firstByte);
  Step boolean();
  Step null();
  Step number();
  Step convertNumber(const std::string& token, bool isInteger, unsigned long start);

  std::string readLetters();
  Step finish(SwJsonValue value);
  Step stop(const char* message);

  SwJsonCursor& cursor_;
  const SwString& key_;
  std::stack<Open> open_;
  std::vector<SwJsonValue> values_;
  std::vector<std::string> keys_;
};
