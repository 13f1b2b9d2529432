#pragma once

#include <array>

namespace segmask {

/// A library of libav. Versions as its headers pack them: major << 16 | minor << 8 | micro.
struct LibavVersion {
  const char* name;  ///< "libavformat", for instance
  unsigned loaded;   ///< of the library that this process uses
  unsigned built;    ///< of the headers that this was compiled with
};

/// Those that videos are read and written with. Any thread may call it.
std::array<LibavVersion, 4> libavVersions();

}  // namespace segmask
