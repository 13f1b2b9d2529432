// Bad input in videos.

#include <sys/stat.h>

#include "test_support/frames.h"
#include "test_support/media.h"
#include "tests/BadInput.h"

namespace {

class BadVideos : public BadInput {
 protected:
  BadVideos() {
    video_.video.encoder = "mjpeg";
    video_.video.pixelFormat = AV_PIX_FMT_YUVJ420P;
  }

  void input(const std::string& name, const std::string& bytes) const {
    folder_.write(name, bytes);
    render(name);
  }

  /// The bytes of a file of video_, which is gone again.
  std::string bytesOf(const std::string& name) const {
    const TempFolder folder;
    writeMedia(folder.path(name), video_);
    return readFile(folder.path(name));
  }

  /// A video whose third packet does not decode.
  void makeDamaged(const std::string& name) const {
    writeMedia(path(name), video_);
    const std::string third = tracksOf(path(name))[0].packets[2];
    std::string bytes = readFile(path(name));
    std::size_t at = 0;  // the packets are all the same
    for (int packet = 0; packet < 3; ++packet) at = bytes.find(third, at + 1);
    ASSERT_NE(at, std::string::npos);
    folder_.write(name, bytes.replace(at, third.size(), third.size(), 'x'));
  }

  MediaFile video_;
};

TEST_F(BadVideos, Missing) {
  render("none.mp4");
}

TEST_F(BadVideos, Empty) {
  input("empty.mkv", "");
}

TEST_F(BadVideos, TextThatIsNoVideo) {
  input("text.mp4", "no video\n");
}

TEST_F(BadVideos, SoundAlone) {
  // A WAV file: 8 bits, one channel, 8000 samples a second, four samples.
  input("sound.wav",
        std::string(
            "RIFF\x28\0\0\0WAVEfmt \x10\0\0\0\1\0\1\0\x40\x1F\0\0\x40\x1F\0\0\1\0\x8\0data\4\0\0\0abcd", 48));
}

TEST_F(BadVideos, CutOff) {
  video_.tableFirst = true;
  const std::string bytes = bytesOf("v.mp4");
  input("cut.mp4", bytes.substr(0, bytes.size() - 2000));
}

TEST_F(BadVideos, Damaged) {
  makeDamaged("damaged.mkv");
  render("damaged.mkv", "out.nv12", {"--summary-json", folder_.write("s.json", "old")});
  EXPECT_NE(readFile(path("s.json")).find("\"damaged\": 1,"), std::string::npos) << readFile(path("s.json"));
}

TEST_F(BadVideos, DamagedWhenStrict) {
  makeDamaged("damaged.mkv");
  render("damaged.mkv", "out.nv12", {"--strict"});
}

TEST_F(BadVideos, SizeThatChanges) {
  video_.container = "mjpeg";
  const std::string small = bytesOf("v.mjpeg");
  video_.video.width = 80;
  input("v.mjpeg", small + bytesOf("v.mjpeg"));
}

TEST_F(BadVideos, SizeBesideItsOwn) {
  folder_.write("v.y4m", "YUV4MPEG2 W2 H2 F25:1 Ip A0:0 C420jpeg\nFRAME\nabcdef");
  render("v.y4m", "out.nv12", {"--size", "2x2"});
}

TEST_F(BadVideos, RotationThatIsNone) {
  writeMedia(path("v.mp4"), video_);
  render("v.mp4", "out.mp4", {"--rotate", "left"});
}

TEST_F(BadVideos, Mp4IntoAPipe) {
  writeMedia(path("v.mp4"), video_);
  ASSERT_EQ(mkfifo(path("pipe.mp4").c_str(), 0600), 0);
  render("v.mp4", "pipe.mp4");
}

}  // namespace
