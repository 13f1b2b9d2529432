#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/frame.h>
}

/// Small media files, made and read by libav's own calls and not by the code that is tested.

/// The video of a file: frames of an encoder's own pixel format.
struct MediaVideo {
  std::string encoder = "mpeg4";
  int width = 64;
  int height = 48;
  AVPixelFormat pixelFormat = AV_PIX_FMT_YUV420P;
  int frames = 10;
  AVRational timeBase{1, 25};
  /// When frame n is shown, in ticks; by default n.
  std::function<int64_t(int)> pts = [](int frame) { return int64_t{frame}; };
  /// Fills the samples of frame n, whose planes may be written; by default all are 16.
  std::function<void(int, AVFrame&)> fill;
  std::array<int32_t, 9> displayMatrix{};  ///< all 0: none
  AVFieldOrder fieldOrder = AV_FIELD_PROGRESSIVE;
  AVRational sampleAspect{0, 1};  ///< that the container says, and the frames do not
};

/// A track of noise, or of texts.
struct MediaSound {
  std::string encoder = "aac";  ///< "subrip" and "mov_text" are texts, one a second
  double seconds = 1;
  double start = 0;
  std::string language;
};

struct MediaChapter {
  double start = 0;  ///< seconds
  double end = 0;
  std::string title;

  bool operator==(const MediaChapter& other) const {
    return start == other.start && end == other.end && title == other.title;
  }
};

struct MediaFile {
  MediaVideo video;
  std::vector<MediaSound> sounds;
  std::vector<MediaVideo> moreVideos;
  std::map<std::string, std::string> texts;       ///< of the file: its title, its artist
  std::map<std::string, std::string> videoTexts;  ///< and of its first video
  std::vector<MediaChapter> chapters;
  std::string attachmentKind = "application/x-truetype-font";
  std::string attachment;   ///< the bytes of a file that a Matroska file carries along; empty: none
  bool soundFirst = false;  ///< all sounds' packets before the video's; otherwise by time
  bool tableFirst = false;  ///< of an MP4, its table of frames before them
  std::string container;    ///< empty: by the name
};

void writeMedia(const std::string& path, const MediaFile& file);

/// An MPEG-TS file whose second unit of AAC sound has no ADTS header any more, so that its packet is none.
std::string withDamagedSound(std::string transportStream);

/// Writes one frame as a picture, by an encoder of pictures ("png", "mjpeg").
void writePicture(const std::string& path, MediaVideo picture);

/// One track as a demuxer gives it.
struct MediaTrack {
  AVMediaType type = AVMEDIA_TYPE_UNKNOWN;
  AVCodecID codec = AV_CODEC_ID_NONE;
  std::string language;
  bool hasDisplayMatrix = false;
  AVFieldOrder fieldOrder = AV_FIELD_UNKNOWN;
  std::string header;                ///< what the codec has beside its packets; of an attachment, its file
  std::vector<std::string> packets;  ///< their bytes
  std::vector<double> times;         ///< their seconds; of video, in the order of coding
  double end = 0;                    ///< when the last packet ends
};

std::vector<MediaTrack> tracksOf(const std::string& path);

/// What a file says about itself in words, as a demuxer gives it.
struct MediaTexts {
  std::map<std::string, std::string> file;
  std::map<std::string, std::string> video;  ///< of the first stream
  std::vector<MediaChapter> chapters;
};

MediaTexts textsOf(const std::string& path);

/// The packets' tracks in the order in which the file has them.
std::vector<int> trackOrderOf(const std::string& path);
