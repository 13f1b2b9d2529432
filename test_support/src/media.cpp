#include "test_support/media.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <stdexcept>
#include <utility>

extern "C" {
#include <libavformat/avformat.h>
#include <libavutil/channel_layout.h>
#include <libavutil/opt.h>
}

namespace {

constexpr int kSampleRate = 48'000;

void check(int error, const char* what) {
  if (error >= 0) return;
  std::array<char, AV_ERROR_MAX_STRING_SIZE> text{};
  av_strerror(error, text.data(), text.size());
  throw std::runtime_error(std::string(what) + ": " + text.data());
}

struct Deleter {
  void operator()(AVCodecContext* codec) const { avcodec_free_context(&codec); }
  void operator()(AVFrame* frame) const { av_frame_free(&frame); }
  void operator()(AVPacket* packet) const { av_packet_free(&packet); }
  void operator()(AVFormatContext* input) const { avformat_close_input(&input); }
};
using Codec = std::unique_ptr<AVCodecContext, Deleter>;
using Frame = std::unique_ptr<AVFrame, Deleter>;
using Packet = std::unique_ptr<AVPacket, Deleter>;
using Input = std::unique_ptr<AVFormatContext, Deleter>;

struct Track {
  Codec codec;
  AVStream* stream = nullptr;
  std::vector<Packet> packets;
};

const AVCodec* encoderOf(const std::string& name) {
  const AVCodec* const encoder = avcodec_find_encoder_by_name(name.c_str());
  if (!encoder) throw std::runtime_error("no encoder " + name);
  return encoder;
}

/// Takes what the encoder has for one frame, or for the end.
void encode(Track& track, const AVFrame* frame) {
  check(avcodec_send_frame(track.codec.get(), frame), "send_frame");
  for (;;) {
    Packet packet(av_packet_alloc());
    const int error = avcodec_receive_packet(track.codec.get(), packet.get());
    if (error == AVERROR(EAGAIN) || error == AVERROR_EOF) return;
    check(error, "receive_packet");
    if (packet->duration == 0) packet->duration = 1;
    track.packets.push_back(std::move(packet));
  }
}

void addStream(AVFormatContext& output, Track& track) {
  track.stream = avformat_new_stream(&output, nullptr);
  check(avcodec_parameters_from_context(track.stream->codecpar, track.codec.get()), "parameters");
  track.stream->codecpar->codec_tag = 0;
  track.stream->time_base = track.codec->time_base;
}

void openEncoder(AVFormatContext& output, Track& track, const AVCodec& encoder) {
  if ((output.oformat->flags & AVFMT_GLOBALHEADER) != 0) track.codec->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
  // The same bytes at every run, and an encoder that is called experimental.
  track.codec->flags |= AV_CODEC_FLAG_BITEXACT;
  track.codec->strict_std_compliance = FF_COMPLIANCE_EXPERIMENTAL;
  track.codec->thread_count = 1;
  check(avcodec_open2(track.codec.get(), &encoder, nullptr), encoder.name);
}

Track videoTrack(AVFormatContext& output, const MediaVideo& video) {
  const AVCodec& encoder = *encoderOf(video.encoder);
  Track track{Codec(avcodec_alloc_context3(&encoder)), nullptr, {}};
  AVCodecContext& codec = *track.codec;
  codec.width = video.width;
  codec.height = video.height;
  codec.pix_fmt = video.pixelFormat;
  codec.time_base = video.timeBase;
  codec.framerate = av_inv_q(video.timeBase);
  codec.field_order = video.fieldOrder;
  codec.flags |= AV_CODEC_FLAG_QSCALE;
  codec.global_quality = FF_QP2LAMBDA;
  const bool interlaced = video.fieldOrder != AV_FIELD_PROGRESSIVE;
  if (interlaced) codec.flags |= AV_CODEC_FLAG_INTERLACED_DCT;
  openEncoder(output, track, encoder);
  addStream(output, track);
  track.stream->sample_aspect_ratio = video.sampleAspect;
  if (video.displayMatrix != std::array<int32_t, 9>{}) {
    const std::size_t bytes = sizeof video.displayMatrix;
    std::memcpy(av_stream_new_side_data(track.stream, AV_PKT_DATA_DISPLAYMATRIX, bytes),
                video.displayMatrix.data(), bytes);
  }
  for (int number = 0; number < video.frames; ++number) {
    Frame frame(av_frame_alloc());
    frame->format = video.pixelFormat;
    frame->width = video.width;
    frame->height = video.height;
    check(av_frame_get_buffer(frame.get(), 0), "frame");
    for (const AVBufferRef* const buffer : frame->buf)
      if (buffer) std::memset(buffer->data, 16, buffer->size);
    if (video.fill) video.fill(number, *frame);
    frame->interlaced_frame = interlaced ? 1 : 0;
    frame->top_field_first = video.fieldOrder == AV_FIELD_TT ? 1 : 0;
    frame->quality = FF_QP2LAMBDA;
    frame->pts = video.pts(number);
    encode(track, frame.get());
  }
  encode(track, nullptr);
  return track;
}

Track soundTrack(AVFormatContext& output, const MediaSound& sound) {
  const AVCodec& encoder = *encoderOf(sound.encoder);
  Track track{Codec(avcodec_alloc_context3(&encoder)), nullptr, {}};
  AVCodecContext& codec = *track.codec;
  codec.sample_rate = kSampleRate;
  codec.sample_fmt = encoder.sample_fmts[0];
  codec.time_base = {1, kSampleRate};
  codec.bit_rate = 64'000;
  av_channel_layout_default(&codec.ch_layout, 1);
  openEncoder(output, track, encoder);
  addStream(output, track);
  const int samples = codec.frame_size > 0 ? codec.frame_size : 1024;
  uint32_t random = 1;
  for (int64_t at = 0; at < static_cast<int64_t>(sound.seconds * kSampleRate); at += samples) {
    Frame frame(av_frame_alloc());
    frame->format = codec.sample_fmt;
    frame->nb_samples = samples;
    frame->sample_rate = kSampleRate;
    check(av_channel_layout_copy(&frame->ch_layout, &codec.ch_layout), "layout");
    check(av_frame_get_buffer(frame.get(), 0), "frame");
    std::memset(frame->data[0], 0, static_cast<std::size_t>(frame->linesize[0]));
    for (int sample = 0; sample < samples; ++sample) {
      random = static_cast<uint32_t>((uint64_t{random} * 1'664'525 + 1'013'904'223) & 0xFFFFFFFF);
      const float value = static_cast<float>(random >> 16) / 65'536 - 0.5F;
      const auto whole = static_cast<int16_t>(value * 20'000);
      if (av_get_bytes_per_sample(codec.sample_fmt) == sizeof whole)
        std::memcpy(frame->data[0] + 2 * static_cast<std::ptrdiff_t>(sample), &whole, sizeof whole);
      else
        std::memcpy(frame->data[0] + 4 * static_cast<std::ptrdiff_t>(sample), &value, sizeof value);
    }
    frame->pts = static_cast<int64_t>(sound.start * kSampleRate) + at;
    encode(track, frame.get());
  }
  encode(track, nullptr);
  return track;
}

Track textTrack(AVFormatContext& output, const MediaSound& texts) {
  Track track;
  track.stream = avformat_new_stream(&output, nullptr);
  track.stream->codecpar->codec_type = AVMEDIA_TYPE_SUBTITLE;
  track.stream->codecpar->codec_id = avcodec_descriptor_get_by_name(texts.encoder.c_str())->id;
  track.stream->time_base = {1, 1000};
  for (int second = 0; second < static_cast<int>(texts.seconds); ++second) {
    const std::string text = "text " + std::to_string(second);
    Packet packet(av_packet_alloc());
    check(av_new_packet(packet.get(), static_cast<int>(text.size())), "packet");
    text.copy(reinterpret_cast<char*>(packet->data), text.size());
    packet->pts = packet->dts = static_cast<int64_t>((texts.start + second) * 1000);
    packet->duration = 900;
    track.packets.push_back(std::move(packet));
  }
  return track;
}

void setText(AVDictionary*& texts, const char* key, const std::string& value) {
  check(av_dict_set(&texts, key, value.c_str(), 0), key);
}

void addChapter(AVFormatContext& output, const MediaChapter& made) {
  auto* const chapter = static_cast<AVChapter*>(av_mallocz(sizeof(AVChapter)));
  int count = static_cast<int>(output.nb_chapters);
  check(av_dynarray_add_nofree(&output.chapters, &count, chapter), "chapter");
  output.nb_chapters = static_cast<unsigned>(count);
  chapter->id = count;
  chapter->time_base = {1, 1000};
  chapter->start = std::llround(made.start * 1000);
  chapter->end = std::llround(made.end * 1000);
  setText(chapter->metadata, "title", made.title);
}

void attach(AVFormatContext& output, const std::string& bytes, const std::string& kind) {
  AVStream& stream = *avformat_new_stream(&output, nullptr);
  AVCodecParameters& codec = *stream.codecpar;
  codec.codec_type = AVMEDIA_TYPE_ATTACHMENT;
  codec.codec_id = AV_CODEC_ID_TTF;
  codec.extradata_size = static_cast<int>(bytes.size());
  codec.extradata = static_cast<uint8_t*>(av_mallocz(bytes.size() + AV_INPUT_BUFFER_PADDING_SIZE));
  bytes.copy(reinterpret_cast<char*>(codec.extradata), bytes.size());
  setText(stream.metadata, "filename", "font.ttf");
  setText(stream.metadata, "mimetype", kind);
}

Track makeTrack(AVFormatContext& output, const MediaSound& sound) {
  const bool isText = sound.encoder == "subrip" || sound.encoder == "mov_text";
  Track track = isText ? textTrack(output, sound) : soundTrack(output, sound);
  if (!sound.language.empty()) setText(track.stream->metadata, "language", sound.language);
  return track;
}

Input openInput(const std::string& path) {
  AVFormatContext* context = nullptr;
  check(avformat_open_input(&context, path.c_str(), nullptr, nullptr), path.c_str());
  Input input(context);
  check(avformat_find_stream_info(context, nullptr), "stream info");
  return input;
}

std::map<std::string, std::string> textsIn(const AVDictionary* dictionary) {
  std::map<std::string, std::string> texts;
  const AVDictionaryEntry* entry = nullptr;
  while ((entry = av_dict_get(dictionary, "", entry, AV_DICT_IGNORE_SUFFIX)))
    texts[entry->key] = entry->value;
  return texts;
}

}  // namespace

void writeMedia(const std::string& path, const MediaFile& file) {
  av_log_set_level(AV_LOG_QUIET);
  AVFormatContext* output = nullptr;
  const char* const container = file.container.empty() ? nullptr : file.container.c_str();
  check(avformat_alloc_output_context2(&output, nullptr, container, path.c_str()), "container");
  output->flags |= AVFMT_FLAG_BITEXACT;
  std::vector<Track> tracks;
  tracks.push_back(videoTrack(*output, file.video));
  for (const MediaVideo& video : file.moreVideos) tracks.push_back(videoTrack(*output, video));
  for (const MediaSound& sound : file.sounds) tracks.push_back(makeTrack(*output, sound));
  if (!file.attachment.empty()) attach(*output, file.attachment, file.attachmentKind);
  for (const auto& [key, value] : file.texts) setText(output->metadata, key.c_str(), value);
  for (const auto& [key, value] : file.videoTexts) setText(output->streams[0]->metadata, key.c_str(), value);
  for (const MediaChapter& chapter : file.chapters) addChapter(*output, chapter);
  check(avio_open(&output->pb, path.c_str(), AVIO_FLAG_WRITE), "open");
  AVDictionary* options = nullptr;
  if (file.tableFirst) av_dict_set(&options, "movflags", "faststart", 0);
  check(avformat_write_header(output, &options), "header");
  av_dict_free(&options);

  std::vector<std::pair<AVPacket*, AVRational>> packets;
  for (Track& track : tracks) {
    // The encoder's time base; the muxer may have changed the stream's.
    const AVRational base = track.codec ? track.codec->time_base : AVRational{1, 1000};
    for (Packet& packet : track.packets) {
      packet->stream_index = track.stream->index;
      packets.emplace_back(packet.get(), base);
    }
  }
  std::stable_sort(packets.begin(), packets.end(), [&file](const auto& a, const auto& b) {
    if (!file.soundFirst) return av_compare_ts(a.first->dts, a.second, b.first->dts, b.second) < 0;
    return a.first->stream_index != 0 && b.first->stream_index == 0;
  });
  for (const auto& [packet, base] : packets) {
    av_packet_rescale_ts(packet, base, output->streams[packet->stream_index]->time_base);
    check(av_write_frame(output, packet), "packet");
  }
  check(av_write_trailer(output), "trailer");
  avio_closep(&output->pb);
  avformat_free_context(output);
}

std::string withDamagedSound(std::string transportStream) {
  const std::string start("\x00\x00\x01\xC0", 4);
  const std::size_t first = transportStream.find(start);
  const std::size_t second = transportStream.find(start, first + 1);
  constexpr std::size_t kHeader = 9;  // its last byte says how many more there are
  const std::size_t more = static_cast<unsigned char>(transportStream.at(second + kHeader - 1));
  char& sync = transportStream.at(second + kHeader + more);
  if (sync != '\xFF') throw std::runtime_error("no ADTS header there");
  sync = 0;
  return transportStream;
}

void writePicture(const std::string& path, MediaVideo picture) {
  picture.frames = 1;
  MediaFile file;
  file.container = "image2pipe";
  file.video = std::move(picture);
  writeMedia(path, file);
}

std::vector<MediaTrack> tracksOf(const std::string& path) {
  const Input input = openInput(path);
  AVFormatContext* const context = input.get();
  std::vector<MediaTrack> tracks(context->nb_streams);
  for (unsigned i = 0; i < context->nb_streams; ++i) {
    const AVStream& stream = *context->streams[i];
    const AVDictionaryEntry* const language = av_dict_get(stream.metadata, "language", nullptr, 0);
    tracks[i].type = stream.codecpar->codec_type;
    tracks[i].codec = stream.codecpar->codec_id;
    tracks[i].header.assign(reinterpret_cast<const char*>(stream.codecpar->extradata),
                            static_cast<std::size_t>(stream.codecpar->extradata_size));
    tracks[i].fieldOrder = stream.codecpar->field_order;
    tracks[i].hasDisplayMatrix = av_stream_get_side_data(&stream, AV_PKT_DATA_DISPLAYMATRIX, nullptr);
    if (language) tracks[i].language = language->value;
  }
  const Packet packet(av_packet_alloc());
  for (; av_read_frame(context, packet.get()) >= 0; av_packet_unref(packet.get())) {
    MediaTrack& track = tracks[static_cast<std::size_t>(packet->stream_index)];
    const double tick = av_q2d(context->streams[packet->stream_index]->time_base);
    track.packets.emplace_back(reinterpret_cast<const char*>(packet->data),
                               static_cast<std::size_t>(packet->size));
    track.times.push_back(static_cast<double>(packet->pts) * tick);
    track.end = std::max(track.end, static_cast<double>(packet->pts + packet->duration) * tick);
  }
  return tracks;
}

MediaTexts textsOf(const std::string& path) {
  const Input input = openInput(path);
  MediaTexts texts;
  texts.file = textsIn(input->metadata);
  texts.video = textsIn(input->streams[0]->metadata);
  for (unsigned i = 0; i < input->nb_chapters; ++i) {
    const AVChapter& chapter = *input->chapters[i];
    const double tick = av_q2d(chapter.time_base);
    texts.chapters.push_back({static_cast<double>(chapter.start) * tick,
                              static_cast<double>(chapter.end) * tick, textsIn(chapter.metadata)["title"]});
  }
  return texts;
}

std::vector<int> trackOrderOf(const std::string& path) {
  const Input input = openInput(path);
  AVFormatContext* const context = input.get();
  const Packet packet(av_packet_alloc());
  std::vector<std::pair<int64_t, int>> places;
  for (; av_read_frame(context, packet.get()) >= 0; av_packet_unref(packet.get()))
    places.emplace_back(packet->pos, packet->stream_index);
  std::sort(places.begin(), places.end());
  std::vector<int> order;
  for (const auto& [place, track] : places) order.push_back(track);
  return order;
}
