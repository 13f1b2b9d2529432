#include "video/mask_picture.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <new>
#include <optional>

#include "io/UserError.h"
#include "src/png_chunks.h"
#include "video/PngEncoder.h"
#include "video/libav_handles.h"

namespace segmask {
namespace {

constexpr char kSignature[] = "\x89PNG\r\n\x1A\n";
constexpr char kDamaged[] = "the PNG file is damaged or cut off";

constexpr std::size_t kLeastBytes = 33;  // the signature and the header

constexpr unsigned kColorKindGrey = 0;
constexpr unsigned kColorKindPalette = 3;

/// Looks at the header before anything is decoded.
PngHeader checkedHeader(const std::string& bytes) {
  if (!isPng(bytes)) throw UserError("is no PNG file");
  if (bytes.size() < kLeastBytes) throw UserError("the PNG file is cut off");
  const std::optional<PngHeader> header = pngHeader(bytes);
  if (!header) throw UserError(kDamaged);
  if (uint64_t{header->width} * header->height > static_cast<uint64_t>(kMostMaskPicturePixels)) {
    throw UserError("has more than " + std::to_string(kMostMaskPicturePixels) + " pixels");
  }
  if (header->sampleBits == 16) throw UserError("has 16 bits a sample; masks have at most 8");
  return *header;
}

AVFramePtr decode(const std::string& bytes) {
  const AVCodec* const codec = avcodec_find_decoder(AV_CODEC_ID_PNG);
  if (!codec) throw UserError("libavcodec has no PNG decoder");
  const AVCodecContextPtr decoder(avcodec_alloc_context3(codec));
  if (!decoder) throw std::bad_alloc();
  decoder->thread_count = 1;
  decoder->max_pixels = kMostMaskPicturePixels;
  decoder->err_recognition = AV_EF_CRCCHECK | AV_EF_EXPLODE;
  if (avcodec_open2(decoder.get(), codec, nullptr) < 0) throw UserError("the PNG decoder does not start");
  const AVPacketPtr packet = makeAVPacket();
  if (av_new_packet(packet.get(), static_cast<int>(bytes.size())) < 0) throw std::bad_alloc();
  std::memcpy(packet->data, bytes.data(), bytes.size());
  AVFramePtr picture = makeAVFrame();
  int error = avcodec_send_packet(decoder.get(), packet.get());
  if (error == 0) error = avcodec_receive_frame(decoder.get(), picture.get());
  if (error == AVERROR(ENOMEM)) throw std::bad_alloc();
  if (error < 0 || !hasAllPngRows(bytes)) throw UserError(kDamaged);
  return picture;
}

/// The data of the chunk that says which palette indices, or which value of grey or colours, are transparent.
/// Empty where there is none before the picture's own data.
std::string transparencyOf(const std::string& bytes) {
  std::size_t at = kPngSignatureBytes;
  while (const std::optional<PngChunk> chunk = nextPngChunk(bytes, at)) {
    if (chunk->kind == "IDAT") break;
    if (chunk->kind == "tRNS") return std::string(chunk->data);
  }
  return {};
}

using ValueTable = std::array<uint8_t, 256>;

/// What the decoder's palette indices and grey values are in the file, or 0 where that is transparent. The
/// decoder stretches 2 and 4 bits of grey to 8, and compares only then with the transparent value.
ValueTable valueTable(const std::string& bytes, const PngHeader& header) {
  const std::string transparency = transparencyOf(bytes);
  const bool isGrey = header.colorKind == kColorKindGrey;
  const int bits = static_cast<int>(header.sampleBits);
  const bool isStretched = isGrey && (bits == 2 || bits == 4);
  const int transparentGrey =
      isGrey && transparency.size() == 2 ? static_cast<unsigned char>(transparency[1]) : 0;
  ValueTable table{};
  for (std::size_t i = 0; i < table.size(); ++i) {
    const int value = static_cast<int>(i) >> (isStretched ? 8 - bits : 0);
    const bool isTransparentIndex =
        header.colorKind == kColorKindPalette && i < transparency.size() && transparency[i] == 0;
    if (!isTransparentIndex && value != transparentGrey) table[i] = static_cast<uint8_t>(value);
  }
  return table;
}

/// How a pixel stands in memory. One with alpha has it last.
struct PixelForm {
  std::size_t bytes;
  bool hasAlpha;
};

PixelForm formOf(int format) {
  switch (format) {
    case AV_PIX_FMT_PAL8:
    case AV_PIX_FMT_GRAY8:
      return {1, false};
    case AV_PIX_FMT_YA8:
      return {2, true};
    case AV_PIX_FMT_RGB24:
      return {3, false};
    case AV_PIX_FMT_RGBA:
      return {4, true};
    default:
      throw UserError("is a PNG file of a kind that masks do not come in");
  }
}

/// What a pixel of grey or an index says by its first byte, and a colour by any of its bytes.
uint8_t valueOf(const uint8_t* pixel, PixelForm form) {
  const std::size_t samples = form.bytes - (form.hasAlpha ? 1 : 0);
  if (form.hasAlpha && pixel[samples] == 0) return 0;
  if (samples == 1) return pixel[0];
  return std::any_of(pixel, pixel + samples, [](uint8_t sample) { return sample != 0; }) ? 1 : 0;
}

/// One bit a pixel, the first pixel highest.
void unpackBits(const uint8_t* row, std::size_t width, uint8_t* values) {
  for (std::size_t x = 0; x < width; ++x) values[x] = row[x / 8] >> (7 - x % 8) & 1U;
}

void takeRow(const uint8_t* row, std::size_t width, PixelForm form, uint8_t* values) {
  for (std::size_t x = 0; x < width; ++x) values[x] = valueOf(row + x * form.bytes, form);
}

}  // namespace

bool isPng(const std::string& bytes) {
  return bytes.compare(0, kPngSignatureBytes, kSignature, kPngSignatureBytes) == 0;
}

MaskPicture decodeMaskPicture(const std::string& bytes) {
  const PngHeader header = checkedHeader(bytes);
  const AVFramePtr decoded = decode(bytes);
  const bool isBits = decoded->format == AV_PIX_FMT_MONOBLACK;
  const PixelForm form = isBits ? PixelForm{1, false} : formOf(decoded->format);
  const auto width = static_cast<std::size_t>(decoded->width);
  MaskPicture picture{decoded->width, decoded->height, form.bytes <= 2, {}};
  picture.values.resize(width * static_cast<std::size_t>(decoded->height));
  for (int y = 0; y < decoded->height; ++y) {
    const uint8_t* const row = decoded->data[0] + std::ptrdiff_t{y} * decoded->linesize[0];
    uint8_t* const values = picture.values.data() + static_cast<std::size_t>(y) * width;
    if (isBits) {
      unpackBits(row, width, values);
    } else {
      takeRow(row, width, form, values);
    }
  }
  if (picture.isIndexed) {
    const ValueTable table = valueTable(bytes, header);
    for (uint8_t& value : picture.values) value = table[value];
  }
  return picture;
}

std::string encodeGreyPng(const std::vector<uint8_t>& values, int width, int height) {
  const AVFramePtr picture = makeAVFrame(AV_PIX_FMT_GRAY8, width, height);
  for (int y = 0; y < height; ++y) {
    std::memcpy(picture->data[0] + std::ptrdiff_t{y} * picture->linesize[0],
                values.data() + static_cast<std::size_t>(y) * static_cast<std::size_t>(width),
                static_cast<std::size_t>(width));
  }
  return PngEncoder(width, height, AV_PIX_FMT_GRAY8).encode(*picture);
}

}  // namespace segmask
