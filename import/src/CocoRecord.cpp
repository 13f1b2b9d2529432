#include "src/CocoRecord.h"

#include <charconv>

#include "io/UserError.h"
#include "io/utf8.h"

namespace segmask {
namespace {

template <class Value>
struct Member {
  const char* key;
  std::optional<Value> CocoRecord::*field;
};

constexpr Member<int64_t> kNumbers[] = {{"id", &CocoRecord::id},
                                        {"image_id", &CocoRecord::imageId},
                                        {"category_id", &CocoRecord::categoryId},
                                        {"track_id", &CocoRecord::trackId},
                                        {"width", &CocoRecord::width},
                                        {"height", &CocoRecord::height}};
constexpr Member<std::string> kTexts[] = {{"file_name", &CocoRecord::fileName}, {"name", &CocoRecord::name}};

/// The field of that key, emptied, because of equal keys in one object the last counts. Null for another key.
template <class Value, std::size_t kCount>
std::optional<Value>* emptiedField(const Member<Value> (&members)[kCount], std::string_view key,
                                   CocoRecord& record) {
  for (const Member<Value>& member : members) {
    if (key != member.key) continue;
    (record.*member.field).reset();
    return &(record.*member.field);
  }
  return nullptr;
}

template <class Number>
std::optional<Number> parseAll(std::string_view text) {
  Number number{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return number;
}

}  // namespace

void CocoRecordHandler::beginMember(std::string_view key) {
  key_ = key;
  number_ = emptiedField(kNumbers, key, record_);
  text_ = emptiedField(kTexts, key, record_);
  isScore_ = key == "score";
  isSegmentation_ = key == "segmentation";
  if (isScore_) record_.score.clear();
  if (isSegmentation_) record_.segmentation.clear();
}

/// Takes what was copied, when that was all of the member.
void CocoRecordHandler::endMember() {
  if (!isMember() || !isCopied()) return;
  record_.segmentation.assign(copy_.GetString(), copy_.GetSize());
  copy_.Clear();
  writer_.Reset(copy_);
}

void CocoRecordHandler::refuseIfUsed() const {
  if (!isMember() || (!number_ && !text_ && !isScore_)) return;
  throw UserError("\"" + key_ + "\" is no " + (number_ ? "whole number" : text_ ? "text" : "number"));
}

bool CocoRecordHandler::Null() {
  if (isCopied() && !isMember()) writer_.Null();
  return true;
}

bool CocoRecordHandler::Bool(bool value) {
  refuseIfUsed();
  if (isCopied()) writer_.Bool(value);
  endMember();
  return true;
}

bool CocoRecordHandler::RawNumber(const char* text, rapidjson::SizeType size, bool) {
  const std::string_view number(text, size);
  if (isMember() && number_) *number_ = parseAll<int64_t>(number);
  if (isMember() && isScore_ && parseAll<double>(number)) record_.score = number;
  const bool isTaken = (number_ && *number_) || (isScore_ && !record_.score.empty());
  if (!isTaken) refuseIfUsed();
  if (isCopied()) writer_.RawValue(text, size, rapidjson::kNumberType);
  endMember();
  return true;
}

bool CocoRecordHandler::String(const char* text, rapidjson::SizeType size, bool copy) {
  if (isMember() && text_) {
    if (!isUtf8({text, size})) throw UserError("\"" + key_ + "\" is not UTF-8");
    text_->emplace(text, size);
  } else {
    refuseIfUsed();
  }
  if (isCopied()) writer_.String(text, size, copy);
  endMember();
  return true;
}

bool CocoRecordHandler::Key(const char* text, rapidjson::SizeType size, bool copy) {
  if (isMember()) {
    beginMember({text, size});
  } else if (isCopied()) {
    writer_.Key(text, size, copy);
  }
  return true;
}

void CocoRecordHandler::beginContainer() {
  refuseIfUsed();
  ++depth_;
}

void CocoRecordHandler::endContainer() {
  if (isCopied()) endMember();
  if (depth_ == 0) beginMember({});
}

bool CocoRecordHandler::StartObject() {
  if (depth_ == 0) record_ = CocoRecord();
  if (isCopied()) writer_.StartObject();
  beginContainer();
  return true;
}

bool CocoRecordHandler::EndObject(rapidjson::SizeType members) {
  --depth_;
  if (isCopied()) writer_.EndObject(members);
  endContainer();
  return true;
}

bool CocoRecordHandler::StartArray() {
  if (isCopied()) writer_.StartArray();
  beginContainer();
  return true;
}

bool CocoRecordHandler::EndArray(rapidjson::SizeType elements) {
  --depth_;
  if (isCopied()) writer_.EndArray(elements);
  endContainer();
  return true;
}

}  // namespace segmask
