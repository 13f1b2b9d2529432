#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "video/FrameReader.h"
#include "video/FrameWriter.h"
#include "video/VideoFormat.h"

namespace segmask {

/// What a joined output takes from its input beside the pieces.
struct JoinSource {
  FrameReader& reader;        ///< of the input, at its beginning; nothing has been read from it
  uint64_t first = 0;         ///< the number of the first frame that was drawn
  bool isWholeInput = false;  ///< the last frame that was drawn is the input's last
};

/// Makes `path` of pieces that writers with WriteOptions::pieceFrom have written, in their order, of frames
/// of one format. The packets of .mp4 and .mkv are copied, with the times of their frames; side streams
/// (`options.side`, of the source's reader) are copied as a single writer would. Raw and y4m are appended.
/// The images of a sequence already have their numbers, so nothing is done for it.
///
/// Throws UserError, also when pieces were encoded with different parameters.
void joinPieces(const std::vector<std::string>& pieces, const std::string& path, const JoinSource& source,
                const WriteOptions& options);

}  // namespace segmask
