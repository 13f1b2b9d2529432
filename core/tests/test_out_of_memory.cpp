// Each operation with its first, its second, ... allocation failing, alone or with all that follow.

#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "core/SwAny.h"
#include "core/SwList.h"
#include "core/diagnostics.h"
#include "core/render_payload.h"
#include "core/swcfg.h"
#include "test_support/Allocations.h"
#include "test_support/StderrCapture.h"
#include "tests/json_text.h"

namespace {

using json_text::generated;
using json_text::parsed;

/// Texts of more than 15 bytes, which no string keeps in itself, in every place that can hold one.
const std::string kDocument =
    "{\"a key that needs memory\": [1, -2.5, true, null, \"a text that needs memory\", {}, [[]], "
    "\"\\u00e9\\n and so does one with escapes\"], \"another key of the same length\": {\"k\": "
    "{\"a third one, down below\": 1234567890123}}, \"b\": 0.333333}";

/// Runs `work`, which calls succeeds(), with each failure. It must give back all that it allocates.
void forEachFailure(const std::function<void()>& work) {
  const auto captured = [&work] {
    const StderrCapture capture;
    work();
  };
  operatorNew.start(std::numeric_limits<int>::max());
  captured();  // Statics keep their memory.
  for (const auto fails : {Countdown::Fails::Once, Countdown::Fails::FromThenOn}) {
    const auto checked = [&captured] {
      const long before = allocationsAlive();
      captured();
      EXPECT_EQ(allocationsAlive(), before) << "memory leaked";
    };
    EXPECT_GT(runWithEachFailure(operatorNew, checked, fails), 0) << "nothing was allocated";
  }
}

/// For an operation that makes a T out of nothing that changes.
template <typename T>
void expectMakes(const T& expected, const std::function<T()>& make) {
  forEachFailure([&] {
    T made{};
    if (succeeds([&] { made = make(); })) {
      EXPECT_EQ(made, expected);
    }
  });
}

/// Copies of `value`, made and assigned. A failure must leave the target with its `old` value.
template <typename T>
void expectCopies(const T& value, const T& old) {
  forEachFailure([&] {
    T target = old;
    const bool copied = succeeds([&] { target = value; });
    EXPECT_EQ(target, copied ? value : old);
    target = old;
    EXPECT_EQ(target, old) << "and can be used again";
  });
  forEachFailure([&] {
    succeeds([&] {
      const T copy(value);
      EXPECT_EQ(copy, value);
    });
  });
}

/// An SwAny that holds `value`: copied, assigned, converted to text and written.
template <typename T>
void expectAnyWorks(const T& value, const std::string& text) {
  const SwAny any = SwAny::from(value);
  forEachFailure([&] { succeeds([&] { EXPECT_EQ(SwAny::from(value).template get<T>(), value); }); });
  forEachFailure([&] {
    SwAny target = SwString("what stood there before");
    const bool copied = succeeds([&] { target = any; });
    if (copied) {
      EXPECT_EQ(target.template get<T>(), value);
    } else {
      EXPECT_EQ(target.get<SwString>(), "what stood there before");
    }
    const SwAny moved(std::move(target));
    EXPECT_TRUE(target.isEmpty());  // NOLINT(bugprone-use-after-move): the state it promises
  });
  forEachFailure([&] {
    SwAny converted;
    if (succeeds([&] { converted = any.convert(SwAny::typeNameOf<SwString>()); })) {
      EXPECT_EQ(converted.get<SwString>(), text);
    } else {
      EXPECT_TRUE(converted.isEmpty());
    }
  });
  expectMakes<std::string>(text, [&] { return any.toString(6); });
  forEachFailure([&] {
    SwAny wrapped;
    const bool made = succeeds([&] { wrapped = SwAny::fromVoidPtr(any.typeName(), any.data()); });
    EXPECT_EQ(wrapped.isEmpty(), !made);
  });
}

SwJsonObject objectWith(const std::string& key, const SwJsonValue& value) {
  SwJsonObject object;
  object.insert(key, value);
  return object;
}

}  // namespace

TEST(OutOfMemory, LoadingLeavesARootOfNullOrTheWholeValue) {
  const SwJsonValue expected = parsed(kDocument);
  const SwString text = kDocument;
  forEachFailure([&] {
    SwJsonDocument document;
    SwString error;
    EXPECT_TRUE(document.loadFromJson("[\"the value before\"]", error));
    const bool loaded = succeeds([&] { EXPECT_TRUE(document.loadFromJson(text, error)); });
    EXPECT_EQ(document.root(), loaded ? expected : SwJsonValue());
    EXPECT_TRUE(document.loadFromJson("[\"the value after\"]", error)) << "the document can be used again";
    EXPECT_EQ(document.root().array()->size(), 1U);
  });
}

TEST(OutOfMemory, LoadingTextWithAnErrorLeavesARootOfNull) {
  const SwString text = kDocument.substr(0, kDocument.size() - 1);
  forEachFailure([&] {
    SwJsonDocument document;
    SwString error;
    if (succeeds([&] { EXPECT_FALSE(document.loadFromJson(text, error)); })) {
      const std::string message =
          "Unterminated JSON object (index " + std::to_string(text.size()) + ") near ";
      EXPECT_EQ(error.str().substr(0, message.size()), message);
    }
    EXPECT_TRUE(document.root().isNull());
  });
}

TEST(OutOfMemory, LoadingTextThatGoesOnKeepsTheRootEvenWithoutTheMessage) {
  const SwJsonValue value = parsed("[\"a text that needs memory\"]");
  int keptWithoutTheMessage = 0;
  forEachFailure([&] {
    SwJsonDocument document;
    SwString error;
    const SwString text("[\"a text that needs memory\"] x");
    const bool loaded = succeeds([&] { EXPECT_FALSE(document.loadFromJson(text, error)); });
    if (loaded) {
      EXPECT_EQ(error, "Unexpected characters at the end of JSON.");
    }
    EXPECT_TRUE(document.root().isNull() || document.root() == value);
    if (!loaded && document.root() == value) ++keptWithoutTheMessage;
  });
  EXPECT_GT(keptWithoutTheMessage, 0);
}

TEST(OutOfMemory, LoadingAKeyedDocumentGivesAValueOrAnError) {
  const SwJsonValue expected =
      parsed("{\"a key that needs memory\": [1, 0.5, true, \"a text that needs memory\"]}");
  const SwString key("key");
  const SwString text = generated(expected, key);
  forEachFailure([&] {
    SwJsonDocument document;
    SwString error;
    bool loaded = false;
    const StderrCapture captured;
    const bool finished = succeeds([&] { loaded = document.loadFromJson(text, error, key); });
    // What cannot be decrypted is an empty String, an error or a plain literal.
    if (finished && !operatorNew.failed()) {
      EXPECT_EQ(document.root(), expected);
    }
    if (!loaded) {
      EXPECT_TRUE(document.root().isNull());
    }
    if (loaded) {
      EXPECT_EQ(document.root().object()->size(), 1U);
    }
    EXPECT_EQ(SwJsonValue(document.root()), document.root())
        << "whatever it is, it can be copied and compared";
  });
}

TEST(OutOfMemory, ParsingOneValueAndOneString) {
  const SwString text = kDocument;
  const SwJsonValue expected = parsed(kDocument);
  forEachFailure([&] {
    SwString error;
    unsigned long index = 0;
    SwJsonValue value;
    const bool finished =
        succeeds([&] { value = SwJsonDocument().parseJson(text, index, SwString(), error); });
    EXPECT_EQ(value, finished ? expected : SwJsonValue());
    EXPECT_LE(index, text.size());
  });
  forEachFailure([&] {
    SwString error;
    unsigned long index = 1;
    succeeds([&] { EXPECT_EQ(SwJsonDocument().parseString(text, index, error), "a key that needs memory"); });
  });
}

TEST(OutOfMemory, TheDocumentsObject) {
  SwJsonDocument document;
  SwString error;
  ASSERT_TRUE(document.loadFromJson(kDocument, error));
  expectMakes<SwJsonObject>(*document.root().object(), [&] { return document.object(); });
}

TEST(OutOfMemory, CopyingAValueOrAContainerLeavesTheTargetAsItWas) {
  expectCopies<SwJsonValue>(parsed(kDocument), "a text that stood there before");
  expectCopies<SwJsonValue>("a text that needs memory", parsed(kDocument));
  expectCopies<SwJsonValue>(parsed(kDocument), parsed("[[\"what stood there before\"]]"));
  // Below the level down to which containers copy their own members, a walk takes over.
  const std::string opening(12, '[');
  const std::string closing(12, ']');
  expectCopies(parsed(opening + kDocument + "," + kDocument + closing),
               SwJsonValue("what stood there before"));
  const SwJsonValue value = parsed(kDocument);
  expectCopies<SwJsonObject>(*value.object(), objectWith("what stood there before", 1));
  expectCopies<SwJsonArray>(*value.object()->begin()->second.array(), SwJsonArray());
}

TEST(OutOfMemory, AValueFromTextAndContainersAndComparingThem) {
  const SwJsonValue value = parsed(kDocument);
  expectMakes<SwJsonValue>("a text that needs memory",
                           [] { return SwJsonValue("a text that needs memory"); });
  expectMakes<SwJsonValue>(value, [&value] { return SwJsonValue(*value.object()); });
  const SwJsonValue equal = value;
  forEachFailure([&] { succeeds([&] { EXPECT_TRUE(value == equal); }); });
}

TEST(OutOfMemory, GeneratingLeavesTheTextAsItWas) {
  const SwJsonValue value = parsed(kDocument);
  for (const bool indented : {false, true}) {
    SwString whole("before ");
    SwJsonDocument().generateJson(value, whole, indented, 0, "");
    forEachFailure([&] {
      SwString out("before ");
      const bool finished =
          succeeds([&] { SwJsonDocument().generateJson(value, out, indented, 0, SwString()); });
      EXPECT_EQ(out, finished ? whole : SwString("before "));
    });
  }
}

TEST(OutOfMemory, GeneratingUnderAKeyLeavesOutWhatCannotBeEncrypted) {
  const SwJsonValue value = parsed("[\"a text that needs memory\", 42, {\"k\": true}]");
  const SwString key("key");
  const std::string whole = generated(value, key);
  forEachFailure([&] {
    SwString out;
    const bool finished = succeeds([&] { SwJsonDocument().generateJson(value, out, false, 0, key); });
    if (!operatorNew.failed()) {
      EXPECT_EQ(out.str(), whole);
    }
    EXPECT_EQ(finished, !out.empty() && out[out.size() - 1] == ']');
  });
}

TEST(OutOfMemory, InsertingLeavesTheObjectAsItWas) {
  const SwJsonObject old = objectWith("a key that needs memory", parsed("[\"what stood there before\"]"));
  for (const char* key : {"another key that needs memory", "a key that needs memory"}) {
    forEachFailure([&] {
      SwJsonObject object = old;
      const bool inserted = succeeds([&] { object.insert(key, "a text that needs memory"); });
      EXPECT_EQ(object == old, !inserted);
      object.insert(key, 1);
      EXPECT_EQ(object.find(key)->integer(), 1);
    });
  }
}

TEST(OutOfMemory, AppendingLeavesTheArrayAsItWas) {
  const SwJsonArray old = *parsed("[1,[\"what stood there before\"]]").array();
  const SwJsonValue value = parsed(kDocument);
  forEachFailure([&] {
    SwJsonArray array = old;
    const bool appended = succeeds([&] { array.append(value); });
    EXPECT_EQ(array.size(), appended ? 3U : 2U);
    array.append(3);
    EXPECT_EQ(array[0].integer(), 1);
    EXPECT_EQ(array[1], old[1]);
  });
  forEachFailure([&] {
    SwJsonArray array;
    succeeds([&] { array.reserve(100); });
    EXPECT_TRUE(array.empty());
  });
}

TEST(OutOfMemory, ReadingAMember) {
  const SwJsonValue value = parsed(kDocument);
  const SwJsonObject& object = *value.object();
  const char* key = "a key that needs memory";
  expectMakes<SwJsonValue>(object[key], [&] { return object.value(key, SwJsonValue()); });
  expectMakes<SwJsonValue>(parsed("1234567890123"), [&] {
    SwJsonValue out("what stood there before");
    try {
      swcfg::getValue(object, "another key of the same length/k/a third one, down below", out);
    } catch (const std::bad_alloc&) {
      EXPECT_EQ(out.text(), "what stood there before");
      throw;
    }
    return out;
  });
}

TEST(OutOfMemory, NumbersAreWrittenWholeOrNotAtAll) {
  const std::string huge = "1" + std::string(22, '0') + ".000000";
  expectMakes<std::string>(huge, [] { return SwJsonValue(1e22).toString(); });
  expectMakes<std::string>("0.333333333333333314829616256247", [] { return SwAny(1.0 / 3).toString(30); });
}

TEST(OutOfMemory, SwStringsOperations) {
  const SwString text("a longer text, with %1 and a comma");
  expectMakes<SwString>("a longer text, with memory and a comma", [&] { return text.arg("memory"); });
  expectMakes<SwString>("with %1 and a comma", [&] { return text.mid(15, -1); });
  expectMakes<SwString>(text, [&] { return (" " + text).trimmed(); });
  expectMakes<SwString>("a longer text, with %1 and a comma, and more", [&] { return text + ", and more"; });
  const std::vector<SwString> parts = {"a longer text", " with %1 and a comma"};
  expectMakes<std::vector<SwString>>(parts, [&] { return text.split(','); });
  expectMakes<int>(123456789, [] { return SwString(" 123_456_789 and some text more").toInt(nullptr); });
}

TEST(OutOfMemory, ALineIsWrittenThoughTheLineFeedFindsNoMemory) {
  std::string line = "a line that fills its memory";
  line.shrink_to_fit();
  ASSERT_EQ(line.capacity(), line.size());
  const StderrCapture captured;
  operatorNew.start(0, Countdown::Fails::FromThenOn);
  EXPECT_TRUE(succeeds([&line] { sw_diagnostics::writeLine(std::move(line)); }));
  EXPECT_TRUE(operatorNew.failed());
  EXPECT_EQ(captured.text(), "a line that fills its memory\n");
}

TEST(OutOfMemory, AnyOfEveryJsonTypeOfTextsAndOfLists) {
  const SwJsonValue value = parsed(kDocument);
  const std::string text = generated(value);
  expectAnyWorks(value, text);
  expectAnyWorks(*value.object(), text);
  expectAnyWorks(*parsed("[" + kDocument + "]").array(), "[" + text + "]");
  expectAnyWorks(SwJsonValue("a text that needs memory"), "\"a text that needs memory\"");
  expectAnyWorks(SwString("a text that needs memory"), "a text that needs memory");
  expectAnyWorks(std::string("a text that needs memory"), "a text that needs memory");
  expectAnyWorks(std::vector<std::string>{"a text that needs memory", "b"}, "a text that needs memory,b");
  expectAnyWorks(SwList<unsigned char>(kDocument.begin(), kDocument.end()), kDocument);
}

TEST(OutOfMemory, AnyOfTextBecomesEveryList) {
  const SwAny any = SwString("a text, that needs memory");
  for (const std::string& target :
       {SwAny::typeNameOf<std::string>(), SwAny::typeNameOf<std::vector<std::string>>(),
        SwAny::typeNameOf<std::vector<unsigned char>>(), SwAny::typeNameOf<SwList<unsigned char>>(),
        any.typeName(), std::string("a type that nobody knows")}) {
    forEachFailure([&] { succeeds([&] { any.convert(target); }); });
  }
}

TEST(OutOfMemory, TheBytesThatConversionsToCharPointersShare) {
  std::size_t size = 100;
  forEachFailure([&size] {
    size *= 2;
    const SwAny any = SwString(std::string(size, 'x'));
    succeeds([&] {
      const SwAny converted = any.convert(SwAny::typeNameOf<const char*>());
      EXPECT_EQ(std::string(converted.get<const char*>()).size(), size);
    });
  });
}

TEST(OutOfMemory, PayloadsGiveTheWholeObjectOrNone) {
  const SwJsonValue value = parsed(kDocument);
  const SwJsonObject& object = *value.object();
  for (const SwAny& payload : {SwAny(object), SwAny(value), SwAny(SwString(kDocument)), SwAny(kDocument)}) {
    expectMakes<SwJsonObject>(object, [&payload] { return render_payload::anyToJsonObject(payload); });
    expectMakes<SwJsonObject>(object, [&payload] { return render_payload::anyToJsonObject(SwAny(payload)); });
  }
}

TEST(OutOfMemory, ListsOfElementsAndMembersAreMadeWholeOrNotAtAll) {
  const std::string text = "a text that needs memory";
  const SwJsonObject expected = objectWith(text, SwJsonArray{text, objectWith(text, text)});
  expectMakes<SwJsonObject>(expected, [&] {
    return SwJsonObject{{text, SwJsonArray{text, SwJsonObject{{text, text}}}}};
  });
}
