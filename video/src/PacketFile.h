#pragma once

#include <string>
#include <vector>

#include "io/FileDescriptor.h"
#include "io/OutputFile.h"
#include "io/OutputPlace.h"
#include "src/H264Encoder.h"
#include "video/FrameWriter.h"
#include "video/libav_handles.h"

namespace segmask {

/// Writes a piece of an H.264 video: the encoder's header, then its packets as they come, with the times that
/// it gave them. Only the program that wrote it reads it.
class PacketFileWriter : public FrameWriter {
 public:
  PacketFileWriter(const std::string& path, const VideoFormat& format, const EncoderOptions& options);

  void write(const Frame& frame) override { encode(&frame); }
  void finish() override;
  void commit(Existing existing) override { place_.commit(existing); }

 private:
  void encode(const Frame* frame);

  OutputPlace place_;
  OutputFile file_;
  H264Encoder encoder_;
};

/// Reads one. Throws UserError for a file that is none.
class PacketFileReader {
 public:
  explicit PacketFileReader(std::string path);

  /// The encoder's header.
  const std::vector<uint8_t>& header() const { return header_; }

  /// Fills in the next packet's bytes, times, duration and flags; false at the end.
  bool next(AVPacket& packet);

 private:
  /// False at the end of the file.
  bool read(void* bytes, std::size_t size);

  std::string path_;
  FileDescriptor file_;
  std::vector<uint8_t> header_;
};

}  // namespace segmask
