#include "src/render/RenderOutputs.h"

#include <utility>

namespace segmask {
namespace {

void complete(TextOutput& output, const std::string& text) {
  output.write(text);
  output.finish();
}

}  // namespace

RenderOutputs::RenderOutputs(const RenderOptions& options, const std::optional<PicturePlan>& pictures,
                             RenderInputs& inputs, const VideoPiece* piece)
    : options_(options),
      pictures_(pictures),
      inputs_(inputs),
      existing_(options.neverOverwrite ? Existing::Kept : Existing::Replaced) {
  FrameReader& reader = inputs.frames().reader();
  // The small ones first: opening a pipe may wait.
  if (options.contactSheet) sheet_ = std::make_unique<ContactSheet>(*options.contactSheet, reader.format());
  if (options.summaryJson) summary_.emplace(*options.summaryJson);
  if (options.report) report_.emplace(*options.report);
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

void RenderOutputs::finishFrames() {
  writer_->finish();
  if (sheet_) sheet_->finish();
}

void RenderOutputs::finish(const std::function<std::string()>& summary,
                           const std::function<std::string()>& report) {
  // Everything that can fail for lack of space comes before the first output gets its name.
  if (existing_ == Existing::Kept) checkNothingIsThere(options_, pictures_);
  if (report_) complete(*report_, report());
  if (summary_) complete(*summary_, summary() + "\n");
  writer_->commit(existing_);
  if (sheet_) sheet_->commit(existing_);
  if (summary_) summary_->commit(existing_);
  if (report_) report_->commit(existing_);
}

}  // namespace segmask
