#include "video/pieces.h"

#include <algorithm>
#include <utility>

#include "io/FileDescriptor.h"
#include "io/OutputPlace.h"
#include "io/UserError.h"
#include "src/H264Encoder.h"
#include "src/Muxer.h"
#include "src/PacketFile.h"

namespace segmask {
namespace {

using Paths = std::vector<std::string>;

void appendPieces(const Paths& pieces, const std::string& path) {
  constexpr std::size_t kBlockBytes = std::size_t{1} << 20;
  OutputPlace place(path);
  OutputFile file = place.open();
  std::vector<char> block(kBlockBytes);
  for (const std::string& piece : pieces) {
    const FileDescriptor bytes = openForReading(piece);
    while (const std::size_t count = readSome(bytes.get(), block.data(), block.size(), piece)) {
      file.write(block.data(), count);
    }
  }
  file.close();
  place.commit();
}

/// The times of the packets of all pieces, as the encoder gave them in every piece.
class PacketTimes {
 public:
  void beginPiece() { beginning_ = shown_.size(); }

  void add(const AVPacket& packet) {
    shown_.push_back(packet.pts);
    // The first packet of a piece, a key frame, is shown first.
    if (packet.dts <= shown_[beginning_]) delay_ = std::max(delay_, shown_.size() - 1 - beginning_);
  }

  /// The times at which the packets are decoded. A decoder holds back so many frames as the delay says, to
  /// give them in the order of showing. So the packet n is decoded when the frame n - delay is shown, and the
  /// first ones as long before that as the delay lasts. It is how the encoder itself counts, but it begins
  /// anew in every piece, and its times would go back there where frames come at varying distances.
  std::vector<int64_t> decodingTimes() const {
    std::vector<int64_t> shown = shown_;
    std::sort(shown.begin(), shown.end());
    const int64_t lead = shown.size() > delay_ ? shown[delay_] - shown[0] : 0;
    std::vector<int64_t> times;
    for (std::size_t i = 0; i < shown.size(); ++i) {
      times.push_back(i < delay_ ? shown[i] - lead : shown[i - delay_]);
    }
    return times;
  }

 private:
  std::vector<int64_t> shown_;
  std::size_t beginning_ = 0;  ///< of the piece
  std::size_t delay_ = 0;      ///< the most packets of a piece before its first time of showing
};

/// Packets of pieces become one stream.
class PacketJoin {
 public:
  PacketJoin(const Paths& pieces, std::string path, const H264Encoder& encoder)
      : pieces_(pieces), path_(std::move(path)), encoder_(encoder) {
    PacketTimes times;
    forEach([&times] { times.beginPiece(); }, [&times](const AVPacket& packet) { times.add(packet); });
    decoded_ = times.decodingTimes();
  }

  /// Calls sink(packet) for each packet.
  template <class Sink>
  void write(const Sink& sink) const {
    std::size_t number = 0;
    const auto visit = [&](AVPacket& packet) {
      packet.dts = decoded_[number++];
      if (packet.dts > packet.pts) throw UserError(path_ + ": the encoder's frames are too far out of order");
      sink(packet);
    };
    forEach([] {}, visit);
  }

 private:
  template <class Begin, class Visit>
  void forEach(const Begin& begin, const Visit& visit) const {
    const AVPacketPtr packet = makeAVPacket();
    for (const std::string& piece : pieces_) {
      PacketFileReader reader(piece);
      checkHeader(reader.header());
      begin();
      while (reader.next(*packet)) visit(*packet);
    }
  }

  void checkHeader(const std::vector<uint8_t>& header) const {
    const AVCodecContext& own = encoder_.context();
    if (std::equal(header.begin(), header.end(), own.extradata, own.extradata + own.extradata_size)) return;
    throw UserError(path_ + ": its pieces were encoded with different parameters and cannot be joined");
  }

  const Paths& pieces_;
  std::string path_;
  const H264Encoder& encoder_;
  std::vector<int64_t> decoded_;
};

void joinPackets(const Paths& pieces, const std::string& path, const char* container,
                 const JoinSource& source, const WriteOptions& options) {
  Muxer muxer(path, container);
  const H264Encoder encoder(path, source.reader.format(), options.encoder, muxer.wantsGlobalHeader());
  const PacketJoin join(pieces, path, encoder);
  muxer.open(encoder.context(), source.reader.format(), options.side);
  // The input is read along with the packets, as far ahead of them as a decoder would be.
  for (uint64_t frame = 0; frame < source.first; ++frame) source.reader.passOver();
  bool isFirst = true;
  join.write([&](AVPacket& packet) {
    if (!std::exchange(isFirst, false)) source.reader.passOver();
    muxer.writeVideo(packet, encoder.context());
  });
  while (source.isWholeInput && source.reader.passOver()) {
  }
  muxer.finish();
  muxer.commit();
}

}  // namespace

void joinPieces(const Paths& pieces, const std::string& path, const JoinSource& source,
                const WriteOptions& options) {
  switch (outputKindOf(path)) {
    case OutputKind::Mp4:
      return joinPackets(pieces, path, "mp4", source, options);
    case OutputKind::Mkv:
      return joinPackets(pieces, path, "matroska", source, options);
    case OutputKind::Y4m:
    case OutputKind::RawNv12:
      return appendPieces(pieces, path);
    case OutputKind::PngSequence:
      return;
  }
}

}  // namespace segmask
