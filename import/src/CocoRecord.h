#pragma once

#include <rapidjson/reader.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace segmask {

/// The members of an image, a category or an annotation that an import uses. Null counts as absent.
struct CocoRecord {
  std::optional<int64_t> id;
  std::optional<int64_t> imageId;
  std::optional<int64_t> categoryId;
  std::optional<int64_t> trackId;
  std::optional<int64_t> width;
  std::optional<int64_t> height;
  std::optional<std::string> fileName;
  std::optional<std::string> name;
  std::string score;         ///< a JSON number; empty when absent
  std::string segmentation;  ///< JSON without blanks; empty when absent
};

/// Reads one JSON object from the events of RapidJSON's reader. Throws UserError, which names the member,
/// when one that is used is of another kind or a text that is not UTF-8.
class CocoRecordHandler : public rapidjson::BaseReaderHandler<rapidjson::UTF8<>, CocoRecordHandler> {
 public:
  /// With `keepsSegmentation` false that member stays empty.
  explicit CocoRecordHandler(bool keepsSegmentation) : keepsSegmentation_(keepsSegmentation) {}
  CocoRecordHandler(const CocoRecordHandler&) = delete;
  CocoRecordHandler& operator=(const CocoRecordHandler&) = delete;

  bool Null();
  bool Bool(bool value);
  bool RawNumber(const char* text, rapidjson::SizeType size, bool copy);
  bool String(const char* text, rapidjson::SizeType size, bool copy);
  bool Key(const char* text, rapidjson::SizeType size, bool copy);
  bool StartObject();
  bool EndObject(rapidjson::SizeType members);
  bool StartArray();
  bool EndArray(rapidjson::SizeType elements);

  /// Whether the object has ended. The next one may begin then.
  bool isComplete() const { return depth_ == 0; }

  const CocoRecord& record() const { return record_; }

 private:
  bool isMember() const { return depth_ == 1; }
  bool isCopied() const { return keepsSegmentation_ && isSegmentation_ && depth_ > 0; }
  void beginMember(std::string_view key);
  void endMember();
  void beginContainer();
  void endContainer();
  void refuseIfUsed() const;

  bool keepsSegmentation_;
  int depth_ = 0;
  CocoRecord record_;

  // The member that is being read, where it is one that is used.
  std::string key_;
  std::optional<int64_t>* number_ = nullptr;
  std::optional<std::string>* text_ = nullptr;
  bool isScore_ = false;
  bool isSegmentation_ = false;

  rapidjson::StringBuffer copy_;
  rapidjson::Writer<rapidjson::StringBuffer> writer_{copy_};
};

/// How the reader is used everywhere: without recursion, and with numbers as they are written.
inline constexpr unsigned kCocoParseFlags =
    rapidjson::kParseIterativeFlag | rapidjson::kParseNumbersAsStringsFlag;

}  // namespace segmask
