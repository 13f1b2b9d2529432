#pragma once

#include <cstdint>
#include <optional>

#include "video/SideStreams.h"

namespace segmask {

/// Copies what the input says in words of itself and of its video (titles, artist, language), as far as it is
/// still true of the output.
void copyTitles(const SideStreams& side, AVFormatContext& output, AVStream& video);

/// Copies the chapters, with their times counted from the beginning of the output, and without those outside
/// it. `end`, in ticks of `timeBase`, is that of the output; empty where it is not known or has none. Before
/// the header, or before the trailer, with which containers write chapters that they lacked at first.
void copyChapters(const SideStreams& side, AVFormatContext& output, std::optional<int64_t> end,
                  AVRational timeBase);

}  // namespace segmask
