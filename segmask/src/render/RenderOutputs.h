#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "io/TextOutput.h"
#include "src/commands.h"
#include "src/render/ContactSheet.h"
#include "src/render/PicturePlan.h"
#include "src/render/RenderInputs.h"
#include "video/FrameWriter.h"
#include "video/pictures.h"

namespace segmask {

/// What `segmask render` writes: the frames, and as they are asked for the contact sheet and the summary for
/// programs. Nothing gets its name before everything is complete. Used by one thread at a time.
class RenderOutputs {
 public:
  /// Opens the outputs for the frames of `inputs`; of a piece where there is one. What is given must outlive
  /// this object. Throws UserError.
  RenderOutputs(const RenderOptions& options, const std::optional<PicturePlan>& pictures,
                RenderInputs& inputs, const VideoPiece* piece);

  void write(const FrameJob& job);

  /// Completes the frames and the contact sheet. No write may follow.
  void finishFrames();

  /// Completes the rest, with the text of `summary` for programs and that of `report`, and gives everything
  /// its names. After finishFrames(). A summary on standard output is printed when all else is complete and
  /// nothing has its name yet. Throws FileExists, and gives none its name, when a file has appeared that must
  /// not be replaced; one that appears after that look is kept too, though not all outputs may have got their
  /// names then.
  void finish(const std::function<std::string()>& summary, const std::function<std::string()>& report);

  /// Where the finished frames stand until they have their name, where they are one file; otherwise empty.
  /// For the report.
  std::string finishedFrames() const { return writer_->finishedFile(); }
  /// And the contact sheet. Empty where there is none.
  std::string finishedSheet() const { return sheet_ ? sheet_->finishedFile() : std::string(); }

 private:
  const RenderOptions& options_;
  const std::optional<PicturePlan>& pictures_;
  const RenderInputs& inputs_;
  Existing existing_;
  std::unique_ptr<FrameWriter> writer_;
  PictureWriter* pictureWriter_ = nullptr;  ///< writer_, where pictures are written
  std::unique_ptr<ContactSheet> sheet_;
  std::optional<TextOutput> summary_;
  std::optional<TextOutput> report_;
};

}  // namespace segmask
