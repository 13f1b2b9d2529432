#include "io/TextOutput.h"

#include <unistd.h>

#include <array>
#include <cerrno>

#include "io/UserError.h"
#include "io/reading.h"

namespace segmask {
namespace {

constexpr std::size_t kBlockBytes = 1 << 16;

OutputFile openFile(const std::optional<StagedOutput>& stage, const std::string& target) {
  return stage ? OutputFile(stage->path(), target) : OutputFile(makeUnnamedFile(), "the temporary file");
}

}  // namespace

TextOutput::TextOutput(const std::string& target)
    : stage_(target == kStandardStream ? std::optional<StagedOutput>()
                                       : std::optional<StagedOutput>(std::in_place, target)),
      file_(openFile(stage_, target)) {}

void TextOutput::write(const std::string& text) {
  buffer_ += text;
  if (buffer_.size() >= kBlockBytes) flush();
}

void TextOutput::flush() {
  file_.write(buffer_);
  buffer_.clear();
}

void TextOutput::finish() {
  flush();
  if (!stage_) return print();
  file_.close();
}

void TextOutput::commit(Existing existing) {
  if (stage_) stage_->commit(existing);
}

void TextOutput::print() {
  std::array<char, kBlockBytes> block;
  if (lseek(file_.descriptor(), 0, SEEK_SET) != 0) throw systemError(file_.name(), errno);
  while (const std::size_t size = readFully(file_.descriptor(), block.data(), block.size(), file_.name())) {
    writeFully(STDOUT_FILENO, block.data(), size, "standard output");
  }
}

}  // namespace segmask
