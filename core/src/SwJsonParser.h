#pragma once

#include <cstddef>
#include <cstdint>
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
  /// `json`, `index` and `errorMessage` are a cursor's. An empty `key` is for plain JSON; another one is the
  /// key of an encrypted document. All must outlive the parser.
  SwJsonParser(const SwString& json, unsigned long& index, SwString& errorMessage, const SwString& key)
      : cursor_(json, index, errorMessage),
        stopsAfterAnElement_(cursor_.failed()),
        isKeyed_(!key.empty()),
        cipher_(key) {}
  SwJsonParser(const SwJsonParser&) = delete;
  SwJsonParser& operator=(const SwJsonParser&) = delete;
  ~SwJsonParser();

  /// The value at the index, white space before it skipped; Null on an error, which the message then tells.
  /// To be called once.
  SwJsonValue parse();

 private:
  struct Digits;
  enum class Step { Value, Member, Element, Separator, Stop };

  /// An open container: one of the two is set, and belongs to the tree below root_.
  struct Open {
    SwJsonObject* object;
    SwJsonArray* array;
    /// How many members an object is expected to have.
    std::size_t expected;
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
  Step integer(const char* start, const Digits& digits);
  Step floatingPoint(const char* start);

  std::string_view readLetters();
  void makeWay();
  SwJsonValue& addSlot(SwJsonValue::Kind kind);
  Step finishInt(int64_t value);
  Step finishDouble(double value);
  Step finishDecrypted(SwJsonValue&& value);
  Step afterValue() const;
  Step stop(const char* message);
  Step stopAt(const char* at, const char* message);

  SwJsonCursor cursor_;
  /// Whether the caller passed in an error: then parsing stops after the first value in a container.
  bool stopsAfterAnElement_;
  bool isKeyed_;
  TextCipher cipher_;
  /// The value being parsed. It grows in place: a container joins it when it opens.
  SwJsonValue root_;
  std::vector<Open> open_;
  /// How many members the last object had that stood as deep as this: the next one is mostly alike.
  std::vector<std::size_t> sizes_;
  /// The key of the member that is being parsed: bytes of the text or of unescapedKey_.
  std::string_view memberKey_;
  std::string unescapedKey_;
};
