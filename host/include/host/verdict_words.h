#pragma once

#include <cstdint>
#include <string>

#include "detection/DetectionJudge.h"
#include "mask/mask_text.h"
#include "render_base/geometry.h"

namespace segmask {

/// Why the detection is not drawn on a frame of that size, for the producer's author: the rule with the
/// numbers that it was applied to, as one sentence without its full stop. Empty for a detection that is
/// drawn.
///
/// For example "score 0.2 is below min_score 0.5".
std::string whyDropped(const seg_mask::Verdict& verdict, const seg_mask::DecisionSettings& settings,
                       render_base::FrameSize frame);

/// The same for a text that decodeMaskText refuses with this fault.
std::string whyNoMask(const seg_mask::MaskTextFault& fault, const std::string& text);

/// The reason alone, for a list of reasons: "score below min_score". Empty for Drawn.
std::string reasonOf(seg_mask::Outcome outcome);

/// 12345 as "12,345".
std::string grouped(uint64_t number);

}  // namespace segmask
