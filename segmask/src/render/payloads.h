#pragma once

namespace segmask {

/// Registers the payload types, once in the program. The library then writes lines about its registries to
/// standard error, which are shown only with `debug`.
void registerPayloads(bool debug);

}  // namespace segmask
