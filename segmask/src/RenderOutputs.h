#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "io/StagedOutput.h"
#include "src/ContactSheet.h"
#include "src/PicturePlan.h"
#include "src/RenderInputs.h"
#include "src/commands.h"
#include "video/FrameWriter.h"
#include "video/pictures.h"

namespace segmask {

/// What `segmask render` writes: the frames, and as they are asked for the contact sheet and the summary for
/// programs. Nothing gets its name before everything is complete. Used by one thread at a time.
class RenderOutputs {
 public:
  /// Opens the outputs for the frames of `inputs`, which must outlive this object. Throws UserError.
  RenderOutputs(const RenderOptions& options, const std::optional<PicturePlan>& pictures,
                RenderInputs& inputs);

  void write(const FrameJob& job);

  /// Completes everything, with the text of `summary` for programs, and gives it its names.
  void finish(const std::function<std::string()>& summary);

 private:
  const RenderInputs& inputs_;
  std::unique_ptr<FrameWriter> writer_;
  PictureWriter* pictureWriter_ = nullptr;  ///< writer_, where pictures are written
  std::unique_ptr<ContactSheet> sheet_;
  std::optional<std::string> summaryName_;
  std::unique_ptr<StagedOutput> summaryFile_;
};

}  // namespace segmask
