#pragma once

#include <optional>
#include <string>

namespace segmask {

/// The options of `segmask mask encode`, `decode` and `info`.
struct MaskOptions {
  std::string input;
  std::string output = "-";         ///< not of info
  std::optional<std::string> size;  ///< of the frame, for masks that lack their own
};

enum class MaskCommand { Encode, Decode, Info };

/// Turns a mask in any form into a mask text or a PNG file, or says what it is. Returns the exit code. Throws
/// UserError; nothing has been written then.
int mask(MaskCommand command, const MaskOptions& options);

}  // namespace segmask
