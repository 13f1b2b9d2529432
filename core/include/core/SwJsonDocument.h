#pragma once

#include <string>
#include <utility>

#include "core/SwJsonObject.h"
#include "core/SwJsonValue.h"
#include "core/SwString.h"
#include "core/export.h"

/// A JSON text's value, with the parser that reads it and the generator that writes one.
///
/// The parser takes standard JSON with two liberties: a comma may follow the last member or element, and of
/// equal keys in one object the last counts. Integers are signed 64-bit; one that does not fit is an error,
/// never a Double. Bytes from 0x80 on pass through strings unchecked. White space is space, tab, line feed,
/// vertical tab, form feed and carriage return. Numbers are read and written in the "C" locale, whatever the
/// process has set.
///
/// Texts and trees may be nested as deeply as memory allows: parsing and generating use a fixed amount of
/// stack.
///
/// A non-empty `key` asks for a keyed document, in which every value but Null is encrypted with
/// SwString::encryptAES, a String between quotes and a Bool, Int or Double as a bare token. Structure and
/// object keys stay readable, and equal values look equal (see SwCrypto). The kind of a value is not in the
/// text: the parser tells it from what it decrypts.
///
/// - "true" and "false" give a Bool, "null" gives Null.
/// - Of a bare token, a text with '.', 'e' or 'E' that strtod takes whole gives a Double, even the
///   hexadecimal "0x1e"; any other that strtoll takes whole in base 10 gives an Int of 64 bits, so "012"
///   is 12. The rest gives a String, numbers out of range included.
/// - Of a quoted value, digits after an optional '-' give an Int by SwString::toInt: of 32 bits, octal
///   after a leading 0 ("012" is 10), and 0 with toInt's message if out of range. Such digits with one '.'
///   among them, or before or after, give a Double by SwString::toFloat: in single precision, and 0.0 with
///   toFloat's message for a lone '.'. The rest gives a String, "1e5" included.
///
/// So a String whose text looks like one of these is of another kind when it is read again. A value that does
/// not decrypt, as plain numbers and literals do not, is read as an empty String, with decryptAES's line on
/// standard error; so is a Null, which the generator writes plainly. If decryptAES throws (no memory), a
/// quoted value is the error "Unable to decrypt string value", and a bare token is read as a plain literal or
/// number.
///
/// The key is derived and the cipher fetched once a document. What is made of the key and of plain texts on
/// the way is wiped, values of a refused document included; the tree that is given out is the caller's, and
/// so is a line on standard error that quotes a number.
///
/// Parsing never throws for a bad text; whatever makes text or values throws std::bad_alloc. Threads: a
/// document belongs to one thread; the parser has no global state.
class SW_CORE_EXPORT SwJsonDocument {
 public:
  /// Parses the whole text and keeps its value as the root. `errorMessage`, which may be `json` or `key`
  /// itself, is cleared first. On an error it says what is wrong (see reportError), the root becomes Null and
  /// the result is false. If something other than white space follows the value, `errorMessage` is
  /// "Unexpected characters at the end of JSON." and the result is false too, but the root keeps the value.
  ///
  /// Throws std::bad_alloc if memory runs out. The root is Null then, except where all that lacked was memory
  /// for the message about what follows the value. The document can be used again.
  bool loadFromJson(const SwString& json, SwString& errorMessage, const SwString& key = SwString());

  /// The value of the last loadFromJson; Null before the first. Owned by this document and valid until the
  /// next one. Of a temporary document, the value itself, moved out.
  const SwJsonValue& root() const& noexcept { return root_; }
  SwJsonValue root() && noexcept { return std::move(root_); }

  /// The root itself, handed over; it is Null afterwards.
  SwJsonValue takeRoot() noexcept { return std::move(root_); }

  /// A copy of the root's members. If the root is not an Object, an empty object, and "Root is not a JSON
  /// object." goes to standard error.
  SwJsonObject object() const;

  /// Parses the one value that starts at byte `index` of `json`, white space before it skipped, and moves
  /// `index` past it; what follows is the caller's. An `index` past the end counts as the end. On an error
  /// the value is Null, `index` stands where parsing stopped, and `errorMessage` says what is wrong. The
  /// caller passes it in empty: a message that stands there stays, and the value is then of no use.
  SwJsonValue parseJson(const SwString& json, unsigned long& index, const SwString& key,
                        SwString& errorMessage) const;

  /// Parses the string whose opening quote is at byte `index`, where any byte is taken for it, and moves
  /// `index` past the closing one. `index` and `errorMessage` count as in parseJson. Gives the unescaped
  /// bytes; the empty string on an error, which goes to `errorMessage`.
  SwString parseString(const SwString& json, unsigned long& index, SwString& errorMessage) const;

  /// Records an error unless `errorMessage` holds one already: the message, " (index N) near " and, between
  /// quotes, the up to 20 bytes of `json` before `index` and the up to 20 from it on. Any `index` is allowed.
  void reportError(SwString& errorMessage, const SwString& json, unsigned long index,
                   const std::string& message) const;

  /// Appends the JSON text of `value` to `out`. Indented text has one member or element a line, two blanks a
  /// level, where `value` itself stands at `level` (a negative one counts as 0); compact text has no blank
  /// except the one after a key's colon. Object members come in key order. A Double without a fraction is
  /// written as an integer (saturated to 64 bits, infinities too), so it is an Int when read again; any other
  /// has six significant digits, and a NaN is "nan" or "-nan", which does not parse. A non-empty `key`
  /// encrypts; a value that encryptAES fails to encrypt leaves an empty pair of quotes, or nothing at all,
  /// which does not parse. Throws std::bad_alloc and leaves `out` as it was.
  void generateJson(const SwJsonValue& value, SwString& out, bool indented, int level,
                    const SwString& key) const;

 private:
  SwJsonValue root_;
};
