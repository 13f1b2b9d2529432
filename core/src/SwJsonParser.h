#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/SwJsonValue.h"
#include "core/SwString.h"
#include "src/SecretText.h"
#include "src/SwJsonCursor.h"
#include "src/TextCipher.h"

/// Parses one value. The containers that are open at the position stand on a stack of the parser's own, so a
/// text may nest them as deeply as memory allows.
class SwJsonParser {
 public:
  /// An empty `key` is for plain JSON; another one is the key of an encrypted document. Both must outlive the
  /// parser.
  SwJsonParser(SwJsonCursor& cursor, const SwString& key)
      : cursor_(cursor), isKeyed_(!key.empty()), cipher_(key) {}
  SwJsonParser(const SwJsonParser&) = delete;
  SwJsonParser& operator=(const SwJsonParser&) = delete;
  ~SwJsonParser();

  /// The value at the cursor, white space before it skipped; Null on an error, which the cursor then holds.
  /// To be called once.
  SwJsonValue parse();

 private:
  enum class Step { Value, Member, Element, Separator, Stop };

  /// An open container: one of the two is set, and belongs to the tree below root_.
  struct Open {
    SwJsonObject* object;
    SwJsonArray* array;
  };

  Step beginValue();
  Step beginMember();
  Step beginElement();
  Step passSeparator();

  Step openObject();
  Step openArray();
  Step closeContainer();
  Step quotedText();
  Step bareToken(char firstByte);
  std::optional<SecretText> decrypt(std::string_view cipherText);
  Step literal(char firstByte);
  Step boolean();
  Step null();
  Step number();
  Step integer(unsigned long start);
  Step floatingPoint(unsigned long start);

  std::string_view readLetters();
  void makeWay();
  void place(SwJsonValue&& value);
  Step finish(SwJsonValue&& value);
  Step finishDecrypted(SwJsonValue&& value);
  Step afterValue() const;
  Step stop(const char* message);

  SwJsonCursor& cursor_;
  bool isKeyed_;
  TextCipher cipher_;
  /// The value being parsed. It grows in place: a container joins it when it opens.
  SwJsonValue root_;
  std::vector<Open> open_;
  /// The key of the member that is being parsed.
  std::string memberKey_;
};
