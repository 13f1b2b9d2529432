#pragma once

#include "io/LineReader.h"

namespace segmask {

/// Throws UserError, with what the file is and what helps, where its beginning shows that it is no file of
/// detection lines but one that is easily taken for it: a JSON array, JSON over several lines, a COCO file.
/// Reading it as lines would give an error that does not say so. To be called before the first line is read.
void refuseOtherFiles(LineReader& reader);

}  // namespace segmask
