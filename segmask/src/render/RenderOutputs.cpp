#include "src/render/RenderOutputs.h"

#include <utility>

#include "io/OutputFile.h"

namespace segmask {

RenderOutputs::RenderOutputs(const RenderOptions& options, const std::optional<PicturePlan>& pictures,
                             RenderInputs& inputs, const VideoPiece* piece)
    : inputs_(inputs) {
  FrameReader& reader = inputs.frames().reader();
  // The small ones first: opening a pipe may wait.
  if (options.contactSheet) sheet_ = std::make_unique<ContactSheet>(*options.contactSheet, reader.format());
  if (options.summaryJson) summaryFile_.emplace(*options.summaryJson);
  if (options.report) reportFile_.emplace(*options.report);
  if (!pictures) {
    WriteOptions writing{options.encoder, reader.sideStreams()};
    if (piece) writing.pieceFrom = piece->offset;
    writer_ = openFrameWriter(options.output, reader.format(), writing);
    return;
  }
  auto writer = std::make_unique<PictureWriter>(pictures->outputFolder, pictures->outputs);
  pictureWriter_ = writer.get();
  writer_ = std::move(writer);
}

void RenderOutputs::write(const FrameJob& job) {
  if (pictureWriter_) pictureWriter_->begin(job.number, inputs_.formatOf(job.number));
  writer_->write(job.frame);
  if (sheet_) sheet_->offer(job.number, job.frame, job.drawn);
}

void RenderOutputs::TextFile::write(const std::string& text) const {
  OutputFile file(stage.path(), name);
  file.write(text);
  file.close();
}

void RenderOutputs::finish(const std::function<std::string()>& summary,
                           const std::function<std::string()>& report) {
  // Everything that can fail for lack of space comes before the first output gets its name.
  writer_->finish();
  if (sheet_) sheet_->finish();
  if (summaryFile_) summaryFile_->write(summary() + "\n");
  if (reportFile_) reportFile_->write(report());
  writer_->commit();
  if (sheet_) sheet_->commit();
  if (summaryFile_) summaryFile_->stage.commit();
  if (reportFile_) reportFile_->stage.commit();
}

}  // namespace segmask
