#include "src/RenderOutputs.h"

#include "io/OutputFile.h"

namespace segmask {

RenderOutputs::RenderOutputs(const RenderOptions& options, FrameReader& reader)
    : summaryName_(options.summaryJson) {
  // The small ones first: opening a pipe may wait.
  if (options.contactSheet) sheet_ = std::make_unique<ContactSheet>(*options.contactSheet, reader.format());
  if (summaryName_) summaryFile_ = std::make_unique<StagedOutput>(*summaryName_);
  writer_ = openFrameWriter(options.output, reader.format(), {options.encoder, reader.sideStreams()});
}

void RenderOutputs::write(const FrameJob& job) {
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
