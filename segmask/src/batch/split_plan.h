#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "core/SwJsonObject.h"
#include "src/batch/VideoPiece.h"
#include "src/commands.h"

namespace segmask {

/// The pieces of `size` frames of what `segmask render` would draw with these options. Empty where it is to
/// be drawn as a whole: it has no more frames than that, it is pictures, or it has a contact sheet, whose
/// pictures are chosen from all frames.
///
/// Reads the input to its end without decoding it. Where that does not show how many frames there are, the
/// last piece has those that are too many, and pieces past the end have none. `useIndex` says whether the
/// pieces may begin to decode elsewhere than at the first frame. Throws UserError.
std::vector<VideoPiece> planPieces(const RenderOptions& options, uint64_t size, bool useIndex);

/// The pieces as a JSON object, and back.
std::string piecesText(const std::vector<VideoPiece>& pieces);
std::vector<VideoPiece> piecesIn(const SwJsonObject& plan);

}  // namespace segmask
