#include "src/container_texts.h"

#include <algorithm>
#include <array>
#include <new>

namespace segmask {
namespace {

/// What is true of the input's own file alone: its kind, who wrote it and when, how long it is.
constexpr std::array<const char*, 9> kOwn{"major_brand",  "minor_version",   "compatible_brands",
                                          "encoder",      "creation_time",   "company_name",
                                          "product_name", "product_version", "duration"};

void copyText(const AVDictionary* from, AVDictionary*& to, const char* key) {
  const AVDictionaryEntry* const entry = av_dict_get(from, key, nullptr, 0);
  if (entry && av_dict_set(&to, key, entry->value, 0) < 0) throw std::bad_alloc();
}

/// A chapter at the end of the output's list, which frees it.
AVChapter& addChapter(AVFormatContext& output) {
  auto* chapter = static_cast<AVChapter*>(av_mallocz(sizeof(AVChapter)));
  if (!chapter) throw std::bad_alloc();
  int count = static_cast<int>(output.nb_chapters);
  if (av_dynarray_add_nofree(&output.chapters, &count, chapter) < 0) {
    av_freep(&chapter);
    throw std::bad_alloc();
  }
  output.nb_chapters = static_cast<unsigned>(count);
  return *chapter;
}

}  // namespace

void copyTitles(const SideStreams& side, AVFormatContext& output, AVStream& video) {
  if (!side.input()) return;
  if (av_dict_copy(&output.metadata, side.input()->metadata, 0) < 0) throw std::bad_alloc();
  for (const char* const key : kOwn) av_dict_set(&output.metadata, key, nullptr, 0);
  for (const char* const key : {"title", "language"}) copyText(side.video()->metadata, video.metadata, key);
}

void copyChapters(const SideStreams& side, AVFormatContext& output, std::optional<int64_t> end,
                  AVRational timeBase) {
  if (!side.input()) return;
  for (unsigned i = 0; i < side.input()->nb_chapters; ++i) {
    const AVChapter& chapter = *side.input()->chapters[i];
    const int64_t start = chapter.start - side.beginningIn(chapter.time_base);
    int64_t stop = std::max(start, chapter.end - side.beginningIn(chapter.time_base));
    const bool isBefore = start < 0 && stop <= 0;
    const bool isAfter = end && av_compare_ts(start, chapter.time_base, *end, timeBase) >= 0;
    if (isBefore || isAfter) continue;
    if (end) stop = std::min(stop, av_rescale_q(*end, timeBase, chapter.time_base));
    AVChapter& copy = addChapter(output);
    copy.id = chapter.id;
    copy.time_base = chapter.time_base;
    copy.start = std::max<int64_t>(start, 0);
    copy.end = stop;
    if (av_dict_copy(&copy.metadata, chapter.metadata, 0) < 0) throw std::bad_alloc();
  }
}

}  // namespace segmask
