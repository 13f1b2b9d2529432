#pragma once

#include <string_view>

#include "io/LineReader.h"

namespace segmask {

/// Throws UserError, with what the file is and what helps, where its `beginning` shows that it is no file of
/// detection lines but one that is easily taken for it: a JSON array, JSON over several lines, a COCO file.
/// To be called when the first line has been refused, because the error for that does not say so; lines may
/// have any members.
void refuseOtherFile(std::string_view beginning, const LineReader& reader);

/// Does the same before the first line is read, where that is longer than the beginning and has no member of
/// a detection line there: COCO's files are one line of up to gigabytes, which are not to be read in vain.
void refuseEndlessOtherFile(std::string_view beginning, const LineReader& reader);

}  // namespace segmask
