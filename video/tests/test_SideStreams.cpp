#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "io/UserError.h"
#include "src/LibavReader.h"
#include "src/Muxer.h"
#include "test_support/TempFolder.h"
#include "test_support/media.h"
#include "video/FrameWriter.h"

namespace segmask {
namespace {

using Texts = std::vector<std::string>;

ReadOptions all() {
  ReadOptions options;
  options.sideStreams = SideKinds::All;
  return options;
}

/// Copies the first `frames` frames; returns what was left out.
Texts copy(const std::string& from, const std::string& to, int frames = 1'000'000,
           const ReadOptions& options = all()) {
  LibavReader reader(from, options);
  const std::unique_ptr<FrameWriter> writer =
      openFrameWriter(to, reader.format(), {{}, reader.sideStreams()});
  Frame frame;
  for (int number = 0; number < frames && reader.next(frame); ++number) writer->write(frame);
  writer->finish();
  writer->commit();
  return reader.sideStreams()->leftOut();
}

MediaFile withSounds(const std::vector<MediaSound>& sounds) {
  MediaFile file;
  file.video.frames = 50;
  file.sounds = sounds;
  return file;
}

MediaSound sound(const std::string& encoder, double seconds, const std::string& language = "") {
  MediaSound made;
  made.encoder = encoder;
  made.seconds = seconds;
  made.language = language;
  return made;
}

TEST(SideStreams, AreCopiedByteForByteWithTheirTimes) {
  const TempFolder folder;
  writeMedia(folder.path("v.mkv"),
             withSounds({sound("aac", 2, "deu"), sound("pcm_s16le", 2, "fra"), sound("subrip", 2, "ita")}));
  const std::vector<MediaTrack> before = tracksOf(folder.path("v.mkv"));
  EXPECT_EQ(copy(folder.path("v.mkv"), folder.path("out.mkv")), Texts{});
  const std::vector<MediaTrack> after = tracksOf(folder.path("out.mkv"));
  ASSERT_EQ(after.size(), 4U);
  for (std::size_t track = 1; track < 4; ++track) {
    EXPECT_EQ(after[track].codec, before[track].codec);
    EXPECT_EQ(after[track].language, before[track].language);
    EXPECT_GT(before[track].packets.size(), 1U);
    EXPECT_EQ(after[track].packets, before[track].packets) << track;
    ASSERT_EQ(after[track].times.size(), before[track].times.size());
    for (std::size_t i = 0; i < after[track].times.size(); ++i)
      EXPECT_NEAR(after[track].times[i], before[track].times[i], 0.0015) << track << ", packet " << i;
  }
}

TEST(SideStreams, ThatTheContainerCannotHoldAreLeftOut) {
  const TempFolder folder;
  writeMedia(folder.path("v.mkv"), withSounds({sound("pcm_s16le", 2), sound("aac", 2), sound("subrip", 2)}));
  EXPECT_EQ(copy(folder.path("v.mkv"), folder.path("out.mp4")),
            (Texts{"stream 1 (audio, pcm_s16le) is left out: mp4 cannot hold it",
                   "stream 3 (subtitle, subrip) is left out: mp4 cannot hold it"}));
  const std::vector<MediaTrack> tracks = tracksOf(folder.path("out.mp4"));
  ASSERT_EQ(tracks.size(), 2U);
  EXPECT_EQ(tracks[1].codec, AV_CODEC_ID_AAC);
  EXPECT_EQ(tracks[1].packets, tracksOf(folder.path("v.mkv"))[2].packets);
  EXPECT_EQ(copy(folder.path("v.mkv"), folder.path("out.y4m")).size(), 3U);
  EXPECT_EQ(copy(folder.path("v.mkv"), folder.path("out.nv12"))[0],
            "stream 1 (audio, pcm_s16le) is left out: .nv12 cannot hold it");
}

TEST(SideStreams, ThatHaveNoNameOfTheirOwnInMatroskaAreCopiedTooAndAttachmentsWithThem) {
  const TempFolder folder;
  MediaFile file =
      withSounds({sound("pcm_mulaw", 1), sound("g722", 1), sound("wmav2", 1), sound("adpcm_ima_wav", 1)});
  file.attachment = "the bytes of a font";
  writeMedia(folder.path("v.mkv"), file);
  EXPECT_EQ(copy(folder.path("v.mkv"), folder.path("out.mkv")), Texts{});
  const std::vector<MediaTrack> before = tracksOf(folder.path("v.mkv"));
  const std::vector<MediaTrack> after = tracksOf(folder.path("out.mkv"));
  ASSERT_EQ(after.size(), 6U);
  for (std::size_t track = 1; track < 5; ++track) {
    EXPECT_EQ(after[track].codec, before[track].codec);
    EXPECT_GT(before[track].packets.size(), 1U);
    EXPECT_EQ(after[track].packets, before[track].packets) << track;
  }
  EXPECT_EQ(after[5].type, AVMEDIA_TYPE_ATTACHMENT);
  EXPECT_EQ(after[5].header, file.attachment);
  EXPECT_EQ(copy(folder.path("v.mkv"), folder.path("out.mp4")).back(),
            "stream 5 (attachment, ttf) is left out: mp4 cannot hold it");
}

TEST(SideStreams, WhoseStandardIsYoungAreCopied) {
  const TempFolder folder;
  writeMedia(folder.path("v.mkv"), withSounds({sound("flac", 1)}));
  EXPECT_EQ(copy(folder.path("v.mkv"), folder.path("out.mp4")), Texts{});
  EXPECT_EQ(tracksOf(folder.path("out.mp4"))[1].packets, tracksOf(folder.path("v.mkv"))[1].packets);
}

TEST(SideStreams, AreOfferedAsFarAsTheyAreWanted) {
  const TempFolder folder;
  writeMedia(folder.path("v.mkv"), withSounds({sound("aac", 2), sound("subrip", 2)}));
  ReadOptions options;
  options.sideStreams = SideKinds::AllButAudio;
  copy(folder.path("v.mkv"), folder.path("out.mkv"), 50, options);
  const std::vector<MediaTrack> tracks = tracksOf(folder.path("out.mkv"));
  ASSERT_EQ(tracks.size(), 2U);
  EXPECT_EQ(tracks[1].codec, AV_CODEC_ID_SUBRIP);
  LibavReader without(folder.path("v.mkv"));
  EXPECT_TRUE(without.sideStreams()->streams().empty());
}

TEST(SideStreams, EndWithAVideoThatIsCutAndNotBeforeOneThatIsWhole) {
  const TempFolder folder;
  writeMedia(folder.path("v.mkv"), withSounds({sound("aac", 4)}));
  copy(folder.path("v.mkv"), folder.path("whole.mkv"));
  EXPECT_NEAR(tracksOf(folder.path("whole.mkv"))[1].end, 4.0, 0.05);
  copy(folder.path("v.mkv"), folder.path("cut.mkv"), 20);
  const std::vector<MediaTrack> cut = tracksOf(folder.path("cut.mkv"));
  EXPECT_EQ(cut[0].packets.size(), 20U);
  // The last packet begins before the video's end; it has 1024 samples of 48000 a second.
  EXPECT_NEAR(cut[0].end, 0.8, 0.03);
  EXPECT_NEAR(cut[1].end, cut[0].end, 0.024);
}

TEST(SideStreams, BeginWithTheVideo) {
  const TempFolder folder;
  writeMedia(folder.path("v.mkv"), withSounds({sound("pcm_s16le", 2)}));
  const std::vector<std::string> before = tracksOf(folder.path("v.mkv"))[1].packets;
  LibavReader reader(folder.path("v.mkv"), all());
  Frame frame;
  for (int number = 0; number <= 25; ++number) {
    ASSERT_TRUE(reader.next(frame));
    reader.sideStreams()->beginAt(frame.pts, reader.format().timeBase);
  }
  const int64_t start = frame.pts;
  const std::unique_ptr<FrameWriter> writer =
      openFrameWriter(folder.path("out.mkv"), reader.format(), {{}, reader.sideStreams()});
  do {
    frame.pts -= start;
    writer->write(frame);
  } while (reader.next(frame));
  writer->finish();
  writer->commit();
  const MediaTrack after = tracksOf(folder.path("out.mkv"))[1];
  // Packets of 1024 samples: the 47th begins at 1.0027 s, the first one after the 25th frame.
  EXPECT_EQ(after.packets, std::vector<std::string>(before.begin() + 47, before.end()));
  EXPECT_NEAR(after.times[0], 0.0027, 0.0015);
}

/// All sound before all video, as nothing that is recorded has it.
TEST(SideStreams, ThatLieFarFromTheVideoAreWrittenInTime) {
  const TempFolder folder;
  MediaFile file = withSounds({sound("pcm_s16le", 10)});
  file.soundFirst = true;
  file.video.frames = 250;
  writeMedia(folder.path("v.mkv"), file);
  const std::vector<int> order = trackOrderOf(folder.path("v.mkv"));
  ASSERT_EQ(std::count(order.begin(), order.begin() + 100, 0), 0);
  copy(folder.path("v.mkv"), folder.path("out.mkv"));
  EXPECT_EQ(tracksOf(folder.path("out.mkv"))[1].packets, tracksOf(folder.path("v.mkv"))[1].packets);
  // Among the first packets of the result are some of the video.
  const std::vector<int> written = trackOrderOf(folder.path("out.mkv"));
  EXPECT_GT(std::count(written.begin(), written.begin() + 100, 0), 10);
}

AVPacketPtr packetOf(int bytes, int64_t time) {
  AVPacketPtr packet = makeAVPacket();
  if (av_new_packet(packet.get(), bytes) < 0) throw std::bad_alloc();
  packet->stream_index = 1;
  packet->pts = packet->dts = time;
  return packet;
}

/// 100 frames of 0.04 s, with one jump in between.
void expectSteadyFrames(const std::string& path) {
  LibavReader reader(path);
  std::vector<double> times;
  for (Frame frame; reader.next(frame);)
    times.push_back(static_cast<double>(frame.pts) * av_q2d(reader.format().timeBase));
  ASSERT_EQ(times.size(), 100U);
  for (std::size_t i = 1; i < times.size(); ++i) EXPECT_NEAR(times[i] - times[i - 1], 0.04, 0.001) << i;
  EXPECT_EQ(reader.timeJumps(), 1U);
  EXPECT_EQ(reader.warning(), "");
}

/// Two recordings in one file, both of which begin at the same time.
TEST(TimesThatJumpBack, GoOnForTheVideoAndItsSound) {
  const TempFolder folder;
  MediaFile file = withSounds({sound("aac", 2), sound("mp2", 2)});
  file.video.encoder = "libx264";
  writeMedia(folder.path("v.ts"), file);
  const std::string once = readFile(folder.path("v.ts"));
  const std::string twice = folder.write("twice.ts", once + once);
  expectSteadyFrames(twice);

  for (const char* output : {"out.mp4", "out.mkv"}) {
    EXPECT_EQ(copy(twice, folder.path(output)), Texts{});
    const std::vector<MediaTrack> tracks = tracksOf(folder.path(output));
    EXPECT_EQ(tracks[0].packets.size(), 100U);
    for (const std::size_t number : {1U, 2U}) {
      const MediaTrack& track = tracks[number];
      // Packets of 1024 and of 1152 samples, 48000 a second.
      const double step = number == 1 ? 0.0213 : 0.024;
      const std::size_t seam = tracksOf(folder.path("v.ts"))[number].packets.size();
      EXPECT_EQ(track.packets.size(), 2 * seam);
      for (std::size_t i = 1; i < track.times.size(); ++i) {
        const double distance = track.times[i] - track.times[i - 1];
        EXPECT_LT(distance, step + 0.04) << output << number << ", packet " << i;
        EXPECT_GE(distance, i == seam ? 0 : step / 2) << output << number << ", packet " << i;
      }
      EXPECT_NEAR(track.times.back() - track.times.front(), 4, 0.1);
    }
  }
}

/// Matroska has the times of showing alone.
TEST(TimesThatJumpBack, GoOnInMatroskaWithFramesOutOfOrder) {
  const TempFolder folder;
  MediaFile file = withSounds({sound("aac", 2)});
  file.video.encoder = "libx264";
  writeMedia(folder.path("v.mkv"), file);
  const std::string once = readFile(folder.path("v.mkv"));
  expectSteadyFrames(folder.write("twice.mkv", once + once));
}

TEST(TimesThatJumpBack, ALittleGetThePossibleOnes) {
  const TempFolder folder;
  writeMedia(folder.path("v.mkv"), withSounds({sound("aac", 1)}));
  LibavReader reader(folder.path("v.mkv"), all());
  const std::unique_ptr<FrameWriter> writer =
      openFrameWriter(folder.path("out.mp4"), reader.format(), {{}, reader.sideStreams()});
  Frame frame;
  while (reader.next(frame)) writer->write(frame);
  for (const int64_t time : {2000, 1990, 1990, 2020})
    reader.sideStreams()->push(*packetOf(50, time), "v.mkv");
  writer->finish();
  writer->commit();
  const std::vector<double> times = tracksOf(folder.path("out.mp4"))[1].times;
  ASSERT_GT(times.size(), 4U);
  EXPECT_TRUE(std::is_sorted(times.end() - 4, times.end()));
  EXPECT_NEAR(*(times.end() - 2), 2.0, 0.001);
  EXPECT_NEAR(times.back(), 2.02, 0.001);
}

MediaFile withTexts() {
  MediaFile file = withSounds({sound("aac", 2)});
  file.texts = {{"title", "Harbour"}, {"artist", "A. Pilot"}};
  file.videoTexts = {{"title", "The left camera"}, {"language", "fra"}};
  file.chapters = {{0, 0.5, "Out"}, {0.5, 1.25, "Round"}, {1.25, 2, "Back"}};
  return file;
}

TEST(VideoTexts, TitlesLanguageAndChaptersAreCarriedOver) {
  const TempFolder folder;
  const MediaFile file = withTexts();
  writeMedia(folder.path("v.mkv"), file);
  for (const char* output : {"out.mkv", "out.mp4"}) {
    EXPECT_EQ(copy(folder.path("v.mkv"), folder.path(output)), Texts{});
    const MediaTexts texts = textsOf(folder.path(output));
    EXPECT_EQ(texts.file.at("title"), "Harbour") << output;
    EXPECT_EQ(texts.file.count("artist") + texts.file.count("ARTIST"), 1U) << output;
    EXPECT_EQ(texts.video.at("language"), "fra") << output;
    EXPECT_EQ(texts.chapters, file.chapters) << output;
  }
  // libavformat writes no track's title into MP4.
  EXPECT_EQ(textsOf(folder.path("out.mkv")).video.at("title"), "The left camera");
  // MP4 has a track for its chapters, which is none to be copied.
  EXPECT_EQ(copy(folder.path("out.mp4"), folder.path("again.mkv")), Texts{});
  EXPECT_EQ(textsOf(folder.path("again.mkv")).chapters, file.chapters);
  EXPECT_EQ(textsOf(folder.path("again.mkv")).file.count("MAJOR_BRAND"), 0U);
}

TEST(VideoTexts, ChaptersAreThoseOfThePartThatIsDrawn) {
  const TempFolder folder;
  writeMedia(folder.path("v.mkv"), withTexts());
  for (const char* output : {"out.mkv", "out.mp4"}) {
    LibavReader reader(folder.path("v.mkv"), all());
    reader.sideStreams()->beginAt(750, {1, 1000});
    const std::unique_ptr<FrameWriter> writer =
        openFrameWriter(folder.path(output), reader.format(), {{}, reader.sideStreams()});
    Frame frame;
    for (int number = 0; number < 20 && reader.next(frame); ++number) writer->write(frame);
    writer->finish();
    writer->commit();
    // 20 frames of 0.04 s, of which the first is at 0.75 s.
    const std::vector<MediaChapter> chapters = textsOf(folder.path(output)).chapters;
    ASSERT_EQ(chapters.size(), 2U) << output;
    EXPECT_EQ(chapters[0], (MediaChapter{0, 0.5, "Round"})) << output;
    EXPECT_EQ(chapters[1].start, 0.5) << output;
    EXPECT_NEAR(chapters[1].end, 0.8, 0.03) << output;
  }
}

TEST(SideStreams, OtherVideosAndCoversAreNamed) {
  const TempFolder folder;
  MediaVideo cover;
  cover.encoder = "png";
  cover.pixelFormat = AV_PIX_FMT_RGB24;
  writePicture(folder.path("cover.png"), cover);
  MediaFile file = withSounds({sound("aac", 1)});
  file.moreVideos.resize(1);
  file.attachment = readFile(folder.path("cover.png"));
  file.attachmentKind = "image/png";
  writeMedia(folder.path("v.mkv"), file);
  EXPECT_EQ(copy(folder.path("v.mkv"), folder.path("out.mkv")),
            (Texts{"stream 1 (video, mpeg4) is left out: one video alone is drawn",
                   "stream 3 (video, png) is left out: it is a cover picture"}));
  EXPECT_EQ(tracksOf(folder.path("out.mkv")).size(), 2U);
}

AVStream streamOf(AVCodecParameters& parameters) {
  AVStream stream{};
  stream.index = 1;
  stream.codecpar = &parameters;
  stream.time_base = {1, 1000};
  return stream;
}

TEST(SideStreams, WaitForAWriterWithinALimit) {
  AVCodecParameters parameters{};
  AVStream stream = streamOf(parameters);
  SideStreams side;
  side.add(stream);
  constexpr int kMegabyte = 1 << 20;
  for (int i = 0; i < 63; ++i) side.push(*packetOf(kMegabyte, i), "v.mkv");
  // What is earlier than the first frame does not count.
  side.beginAt(10, stream.time_base);
  for (int i = 63; i < 73; ++i) side.push(*packetOf(kMegabyte, i), "v.mkv");
  side.push(*packetOf(kMegabyte, 9), "v.mkv");
  EXPECT_THROW(side.push(*packetOf(kMegabyte, 73), "v.mkv"), UserError);
  int64_t next = 0;
  side.connect([&next](AVPacket& packet) { EXPECT_EQ(packet.pts, next++); });
  EXPECT_EQ(next, 63);
  side.push(*packetOf(kMegabyte, 73), "v.mkv");
  EXPECT_EQ(next, 64);
}

/// A packet of ADTS that is shorter than its header, which MP4 and Matroska do not hold, among 94 others.
TEST(SideStreams, LackAPacketThatIsDamagedAndCountIt) {
  const TempFolder folder;
  writeMedia(folder.path("v.ts"), withSounds({sound("aac", 2)}));
  const std::size_t sounds = tracksOf(folder.path("v.ts"))[1].packets.size();
  for (const char* output : {"out.mp4", "out.mkv"}) {
    LibavReader reader(folder.path("v.ts"), all());
    const std::unique_ptr<FrameWriter> writer =
        openFrameWriter(folder.path(output), reader.format(), {{}, reader.sideStreams()});
    Frame frame;
    for (int number = 0; reader.next(frame); ++number) {
      writer->write(frame);
      if (number == 20) reader.sideStreams()->push(*packetOf(3, frame.pts), "v.ts");
    }
    writer->finish();
    writer->commit();
    EXPECT_EQ(reader.damage().copied, 1U) << output;
    EXPECT_EQ(reader.warning(),
              folder.path("v.ts") + ": 1 packet of its sound or other streams is damaged and left out");
    const std::vector<MediaTrack> tracks = tracksOf(folder.path(output));
    EXPECT_EQ(tracks[0].packets.size(), 50U) << output;
    EXPECT_EQ(tracks[1].packets.size(), sounds) << output;
  }
}

/// No picture comes meanwhile, and what is held does not grow with what is pushed.
TEST(SideStreams, ThatGoOnWithoutTheVideoAreWritten) {
  const TempFolder folder;
  VideoFormat format;
  format.width = 64;
  format.height = 48;
  AVCodecParameters parameters{};
  parameters.codec_type = AVMEDIA_TYPE_AUDIO;
  parameters.codec_id = AV_CODEC_ID_PCM_S16LE;
  parameters.sample_rate = 48'000;
  parameters.ch_layout.order = AV_CHANNEL_ORDER_NATIVE;
  parameters.ch_layout.nb_channels = 1;
  parameters.ch_layout.u.mask = AV_CH_LAYOUT_MONO;
  AVStream stream = streamOf(parameters);
  SideStreams side;
  side.add(stream);
  const std::unique_ptr<FrameWriter> writer = openFrameWriter(folder.path("out.mkv"), format, {{}, &side});
  EXPECT_EQ(side.leftOut(), Texts{});
  constexpr int kPackets = 60;
  constexpr int kMegabyte = 1 << 20;
  constexpr int64_t kMilliseconds = 10'923;  // of a mebibyte of samples
  for (int i = 0; i < kPackets; ++i) side.push(*packetOf(kMegabyte, i * kMilliseconds), "v.mkv");
  std::uintmax_t written = 0;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(folder.path("")))
    if (entry.is_regular_file()) written += entry.file_size();
  // All but what the muxer holds, and ten seconds that libavformat puts in order.
  EXPECT_GT(written, (kPackets - 20) * std::uintmax_t{kMegabyte});
}

}  // namespace
}  // namespace segmask
