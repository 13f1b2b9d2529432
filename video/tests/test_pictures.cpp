#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

#include "io/UserError.h"
#include "src/LibavReader.h"
#include "test_support/TempFolder.h"
#include "test_support/frames.h"
#include "test_support/media.h"
#include "video/pictures.h"

namespace fs = std::filesystem;

namespace segmask {
namespace {

using Texts = std::vector<std::string>;

std::string textOf(const std::vector<unsigned char>& bytes) {
  return {bytes.begin(), bytes.end()};
}

class Pictures : public ::testing::Test {
 protected:
  std::string path(const std::string& name) const { return folder_.path(name); }

  /// The upper left quarter bright, the rest dark.
  static void fillCorner(int, AVFrame& frame) {
    const int step = frame.format == AV_PIX_FMT_RGBA ? 4 : frame.format == AV_PIX_FMT_RGB24 ? 3 : 1;
    for (int y = 0; y < frame.height; ++y) {
      for (int x = 0; x < frame.width * step; ++x)
        frame.data[0][y * frame.linesize[0] + x] =
            x < frame.width * step / 2 && y < frame.height / 2 ? 200 : 40;
    }
    for (int plane = 1; plane < 3 && frame.data[plane]; ++plane) {
      for (int y = 0; y < frame.height / 2; ++y)
        std::fill_n(frame.data[plane] + y * frame.linesize[plane], frame.width / 2, 128);
    }
  }

  std::string make(const std::string& name, const std::string& encoder, AVPixelFormat format, int width = 32,
                   int height = 16) const {
    MediaVideo picture;
    picture.encoder = encoder;
    picture.width = width;
    picture.height = height;
    picture.pixelFormat = format;
    picture.fill = &fillCorner;
    writePicture(path(name), std::move(picture));
    return path(name);
  }

  std::string makeJpeg(const std::string& name, int width = 32, int height = 16) const {
    return make(name, "mjpeg", AV_PIX_FMT_YUVJ420P, width, height);
  }
  std::string makePng(const std::string& name, int width = 32, int height = 16) const {
    return make(name, "png", AV_PIX_FMT_RGB24, width, height);
  }

  static std::string messageOf(const std::vector<std::string>& paths) {
    try {
      PictureReader reader(paths, false);
      for (Frame frame; reader.next(frame);) {
      }
    } catch (const UserError& error) {
      return error.what();
    }
    return "no error";
  }

  TempFolder folder_;
};

TEST_F(Pictures, AreListedByTheBytesOfTheirNames) {
  for (const char* name : {"b.png", "B.JPG", "a10.jpeg", "a9.Png", "\xC3\xA4.png", ".hidden.txt"})
    folder_.write(name, "");
  fs::create_directory(path("folder.png"));
  fs::create_directory(path("folder"));
  EXPECT_EQ(picturesOf(path(".")), (Texts{path("./B.JPG"), path("./a10.jpeg"), path("./a9.Png"),
                                          path("./b.png"), path("./\xC3\xA4.png")}));
  folder_.write("notes.txt", "");
  EXPECT_THROW(picturesOf(path(".")), UserError);
  EXPECT_THROW(picturesOf(path("folder")), UserError);
  EXPECT_THROW(picturesOf(path("none")), UserError);
}

TEST_F(Pictures, OfAnySizeAndKindAreReadEachAsItIs) {
  const Texts paths{makeJpeg("a.jpg"), makePng("b.png", 17, 9), makeJpeg("c.png", 64, 48)};
  PictureReader reader(paths, false);
  EXPECT_EQ(reader.frameCount(), 3U);
  EXPECT_EQ(reader.format().width, 32);
  Frame frame;
  for (std::size_t number = 0; number < paths.size(); ++number) {
    ASSERT_TRUE(reader.next(frame));
    EXPECT_EQ(frame.pts, static_cast<int64_t>(number));
    // The same bytes as by way of libavformat, which is how sequences of pictures are read as videos.
    LibavReader other(paths[number]);
    Frame expected;
    ASSERT_TRUE(other.next(expected));
    EXPECT_EQ(textOf(frame.nv12), textOf(expected.nv12)) << paths[number];
    EXPECT_EQ(reader.format().width, other.format().width);
    EXPECT_EQ(reader.format().height, other.format().height);
    EXPECT_EQ(reader.format().color.range, other.format().color.range);
    EXPECT_EQ(reader.format().color.matrix, other.format().color.matrix);
  }
  EXPECT_FALSE(reader.next(frame));
  EXPECT_EQ(reader.remarks(), Texts{});
}

TEST_F(Pictures, AreTurnedAsExifSays) {
  const std::string plain = readFile(makeJpeg("plain.jpg"));
  // One entry, big-endian: tag 0x0112, one 16-bit number, 6: the stored left side is shown on top.
  const std::string exif(
      "\xFF\xE1\0\x22"
      "Exif\0\0MM\0\x2A\0\0\0\x08\0\1\1\x12\0\3\0\0\0\1\0\6\0\0\0\0\0\0",
      36);
  const std::string turned = folder_.write("turned.jpg", plain.substr(0, 2) + exif + plain.substr(2));
  PictureReader reader({turned}, false);
  EXPECT_EQ(reader.format().width, 16);
  EXPECT_EQ(reader.format().height, 32);
  Frame frame;
  ASSERT_TRUE(reader.next(frame));
  // The bright corner has gone from the upper left to the upper right.
  EXPECT_NEAR(frame.nv12[16 * 2 + 2], 40, 8);
  EXPECT_NEAR(frame.nv12[16 * 2 + 13], 200, 8);
  EXPECT_NEAR(frame.nv12[16 * 29 + 13], 40, 8);
  EXPECT_EQ(LibavReader(turned).format().width, 16);
  PictureReader stored({turned}, true);
  EXPECT_EQ(stored.format().width, 32);
}

TEST_F(Pictures, LoseTheirAlphaWhichIsSaid) {
  const Texts paths{makePng("a.png"), make("b.png", "png", AV_PIX_FMT_RGBA),
                    make("c.png", "png", AV_PIX_FMT_RGBA)};
  PictureReader reader(paths, false);
  for (Frame frame; reader.next(frame);) {
  }
  EXPECT_EQ(reader.remarks(), Texts{paths[1] + ": its alpha is dropped (rgba); 2 pictures lose something"});
}

TEST_F(Pictures, ThatAreNoRegularFilesAreRefused) {
  const std::string pipe = folder_.path("pipe.png");
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  try {
    const PictureReader reader({pipe}, false);
    FAIL() << "nothing was refused";
  } catch (const UserError& error) {
    EXPECT_EQ(error.what(), pipe + ": is no regular file, which a picture has to be");
  }
}

TEST_F(Pictures, ThatAreDamagedEndTheReading) {
  const std::string jpeg = readFile(makeJpeg("a.jpg", 64, 48));
  const std::string png = readFile(makePng("a.png", 64, 48));
  const auto message = [this](const std::string& name, const std::string& bytes) {
    return messageOf({path("a.png"), folder_.write(name, bytes)});
  };
  const std::string cut = path("cut") + ": the picture is damaged";
  EXPECT_EQ(message("cut", jpeg.substr(0, jpeg.size() * 2 / 3)), cut);
  EXPECT_EQ(message("cut", jpeg.substr(0, 100)), cut);
  EXPECT_EQ(message("cut", jpeg.substr(0, 2)), cut);
  EXPECT_EQ(message("cut", png.substr(0, png.size() - 14)), cut);
  EXPECT_EQ(message("cut", png.substr(0, 30)), cut);
  std::string changed = png;
  changed[png.size() / 2] = static_cast<char>(changed[png.size() / 2] ^ 1);
  EXPECT_EQ(message("cut", changed), cut);
  // A checksum alone, which decoders pass over by default, and rubbish in the middle of the samples.
  std::string checksum = png;
  char& last = checksum[png.size() - 13];
  last = static_cast<char>(last ^ 1);
  EXPECT_EQ(message("cut", checksum), cut);
  // Two rows of three pixels in grey, of which the data have the first one.
  const char oneRowOfTwo[] =
      "\x89PNG\r\n\x1A\n\0\0\0\x0DIHDR\0\0\0\3\0\0\0\2\x08\0\0\0\0\xB8\x1F\x39\xC6"
      "\0\0\0\x0CIDAT\x78\xDA\x63\x60\x60\x64\2\0\0\x08\0\4\x08\x1D\x63\x0A\0\0\0\0IEND\xAE\x42\x60\x82";
  EXPECT_EQ(message("cut", std::string(oneRowOfTwo, sizeof oneRowOfTwo - 1)), cut);
  std::string rubbish = jpeg;
  rubbish.replace(jpeg.size() - 60, 20, 20, '\x7F');
  EXPECT_EQ(message("cut", rubbish), cut);
  const std::string other = path("other.png") + ": is no picture, neither PNG nor JPEG";
  EXPECT_EQ(message("other.png", "text"), other);
  EXPECT_EQ(message("other.png", ""), other);
  EXPECT_EQ(messageOf({path("none.png")}), path("none.png") + ": No such file or directory");
}

VideoFormat formatOf(int width, int height) {
  VideoFormat format;
  format.width = width;
  format.height = height;
  return format;
}

Frame grayFrame(int width, int height, unsigned char luma) {
  Frame frame;
  frame.nv12.assign(frameBytes(width, height), 128);
  std::fill_n(frame.nv12.begin(), width * height, luma);
  return frame;
}

TEST_F(Pictures, AreWrittenUnderTheirNamesIntoAFolderThatIsMade) {
  {
    PictureWriter writer(path("out"), {"a.png", "b.png"});
    writer.begin(0, formatOf(8, 4));
    writer.write(grayFrame(8, 4, 100));
    writer.begin(1, formatOf(5, 7));
    writer.write(grayFrame(5, 7, 150));
    writer.finish();
    EXPECT_FALSE(fs::exists(path("out/a.png")));
    writer.commit(Existing::Replaced);
  }
  PictureReader reader({path("out/a.png"), path("out/b.png")}, false);
  Frame frame;
  ASSERT_TRUE(reader.next(frame));
  EXPECT_EQ(reader.format().width, 8);
  EXPECT_NEAR(frame.nv12[0], 100, 1);
  ASSERT_TRUE(reader.next(frame));
  EXPECT_EQ(reader.format().height, 7);
  EXPECT_NEAR(frame.nv12[0], 150, 1);
}

TEST_F(Pictures, ThatAreNotCommittedLeaveNoTrace) {
  {
    PictureWriter writer(path("out"), {"a.png"});
    writer.begin(0, formatOf(8, 4));
    writer.write(grayFrame(8, 4, 100));
    writer.finish();
  }
  EXPECT_EQ(folder_.names(), Texts{});
  EXPECT_THROW(PictureWriter(path("none/out"), {"a.png"}), UserError);
  folder_.write("file", "");
  EXPECT_THROW(PictureWriter(path("file"), {"a.png"}), UserError);
}

}  // namespace
}  // namespace segmask
