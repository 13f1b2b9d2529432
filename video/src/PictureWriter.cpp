#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <utility>

#include "io/OutputFile.h"
#include "io/UserError.h"
#include "video/pictures.h"

namespace fs = std::filesystem;

namespace segmask {

PictureWriter::PictureWriter(std::string folder, std::vector<std::string> names)
    : folder_(std::move(folder)), names_(std::move(names)), isFolderMade_(mkdir(folder_.c_str(), 0777) == 0) {
  if (!isFolderMade_ && errno != EEXIST) throw systemError(folder_, errno);
  try {
    // Not the name of a picture, which may be a link to another folder.
    stage_ = std::make_unique<StagedOutput>((fs::path(folder_) / ".segmask").string());
  } catch (...) {
    if (isFolderMade_) rmdir(folder_.c_str());
    throw;
  }
}

PictureWriter::~PictureWriter() {
  stage_.reset();
  if (isFolderMade_) rmdir(folder_.c_str());
}

void PictureWriter::begin(uint64_t number, const VideoFormat& format) {
  number_ = static_cast<std::size_t>(number);
  if (format_ && convertsAlike(*format_, format)) return;
  const bool isSizeNew = !format_ || format_->width != format.width || format_->height != format.height;
  format_ = format;
  converter_ = std::make_unique<RgbConverter>(format, format.width, format.height);
  if (isSizeNew) encoder_ = std::make_unique<PngEncoder>(format.width, format.height);
}

void PictureWriter::write(const Frame& frame) {
  const std::string& name = names_[number_];
  OutputFile file(stage_->pathOf(name), (fs::path(folder_) / name).string());
  file.write(encoder_->encode(converter_->convert(frame.nv12)));
  file.close();
}

void PictureWriter::commit(Existing existing) {
  stage_->commit(existing);
  isFolderMade_ = false;
}

}  // namespace segmask
