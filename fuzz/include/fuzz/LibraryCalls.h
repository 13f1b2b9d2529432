#pragma once

#include <memory>

#include "fuzz/FuzzInput.h"
#include "test_support/model/drawing.h"

class SegMaskOverlayPlugin;

namespace fuzz {

/// How a library of the plug-in draws, as the fuzzer of render has to know it: which device calls a pass
/// makes, and what is drawn when some of them fail.
class LibraryCalls {
 public:
  LibraryCalls() = default;
  LibraryCalls(const LibraryCalls&) = delete;
  LibraryCalls& operator=(const LibraryCalls&) = delete;
  virtual ~LibraryCalls() = default;

  /// Picks a call of the next pass that is to fail.
  virtual void planFailure(FuzzInput& input) = 0;

  /// Lets the planned calls fail.
  virtual void begin() = 0;

  /// What the model hands the pass's items over to.
  virtual model::Compositor& compositor() = 0;

  /// After the pass of the plug-in and that of the model: ends the process if the calls that were recorded
  /// are not what they have to be, and lets the model draw what it has not drawn yet.
  virtual void finish() = 0;
};

/// Those of the library that the program links.
std::unique_ptr<LibraryCalls> makeLibraryCalls(SegMaskOverlayPlugin& plugin);

}  // namespace fuzz
