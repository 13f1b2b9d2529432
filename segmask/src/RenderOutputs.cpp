#include "src/RenderOutputs.h"

#include <utility>

#include "io/OutputFile.h"

namespace segmask {

RenderOutputs::RenderOutputs(const RenderOptions& options, const std::optional<PicturePlan>& pictures,
                             RenderInputs& inputs)
    : inputs_(inputs), summaryName_(options.summaryJson) {
  FrameReader& reader = inputs.frames().reader();
  // The small ones first: opening a pipe may wait.
  if (options.contactSheet) sheet_ = std::make_unique<ContactSheet>(*options.contactSheet, reader.format());
  if (summaryName_) summaryFile_ = std::make_unique<StagedOutput>(*summaryName_);
  if (!pictures) {
    writer_ = openFrameWriter(options.output, reader.format(), {options.encoder, reader.sideStreams()});
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

void RenderOutputs::finish(const std::function<std::string()>& summary) {
  // Everything that can fail for lack of space comes before the first output gets its name.
  writer_->finish();
  if (sheet_) sheet_->finish();
  if (summaryFile_) {
    OutputFile file(summaryFile_->path(), *summaryName_);
    file.write(summary() + "\n");
    file.close();
  }
  writer_->commit();
  if (sheet_) sheet_->commit();
  if (summaryFile_) summaryFile_->commit();
}

}  // namespace segmask
