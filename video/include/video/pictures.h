#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "io/StagedOutput.h"
#include "video/FrameReader.h"
#include "video/FrameWriter.h"
#include "video/PngEncoder.h"
#include "video/RgbConverter.h"

namespace segmask {

/// Whether a file of this name is taken for a picture: .png, .jpg or .jpeg, in either case.
bool isPictureName(const std::string& path);

/// The pictures of a folder, by name in the order of its bytes. Folders within it and hidden files are passed
/// over. Throws UserError when it cannot be read, holds no picture, or holds a file that is none by its name.
std::vector<std::string> picturesOf(const std::string& folder);

/// Reads pictures that have nothing to do with each other, each as one frame. Their sizes and colours may
/// differ: format() is that of the frame that next() gave last, and before the first one that of the first.
///
/// PNG and JPEG are told by their content. A picture with any error in it ends the reading. Exif's
/// orientation is applied.
class PictureReader : public FrameReader {
 public:
  /// Reads the first of `paths`, of which there must be one. Throws UserError when that is not possible.
  PictureReader(std::vector<std::string> paths, bool keepRotation);

  const VideoFormat& format() const override { return formats_[read_ == 0 ? 0 : read_ - 1]; }

  /// The format of a picture that next() has given. Any thread may ask that got the frame from the reader's.
  const VideoFormat& formatOf(uint64_t number) const { return formats_[static_cast<std::size_t>(number)]; }

  std::optional<uint64_t> frameCount() const override { return paths_.size(); }
  /// Frame::pts is the picture's number.
  bool next(Frame& frame) override;
  std::vector<std::string> remarks() const override;

 private:
  void read(Frame& frame);

  std::vector<std::string> paths_;
  bool keepRotation_;
  std::vector<VideoFormat> formats_;  ///< by picture; each is written once, before its frame is given
  std::size_t read_ = 0;
  std::optional<Frame> first_;  ///< read ahead
  std::vector<unsigned char> stored_;
  std::string firstLoss_;
  uint64_t losers_ = 0;  ///< pictures that lost something
};

/// Writes frames as PNG pictures of given names into a folder, which is made if it is missing. Nothing
/// appears before commit(), and a folder that was made is gone again without it.
class PictureWriter : public FrameWriter {
 public:
  /// `names` are those of the pictures, by number, without the folder.
  PictureWriter(std::string folder, std::vector<std::string> names);
  ~PictureWriter() override;

  /// The next frame is the picture of this number and has this format.
  void begin(uint64_t number, const VideoFormat& format);

  /// After begin(), which says what it is.
  void write(const Frame& frame) override;
  void finish() override {}
  void commit(Existing existing) override;

 private:
  std::string folder_;
  std::vector<std::string> names_;
  bool isFolderMade_ = false;
  std::unique_ptr<StagedOutput> stage_;
  std::optional<VideoFormat> format_;
  std::unique_ptr<RgbConverter> converter_;
  std::unique_ptr<PngEncoder> encoder_;
  std::size_t number_ = 0;
};

}  // namespace segmask
