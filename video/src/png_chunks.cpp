#include "src/png_chunks.h"

#include <zlib.h>

#include <array>
#include <new>

namespace segmask {
namespace {

/// A chunk is the number of its data's bytes, four letters, the data and a checksum.
constexpr std::size_t kKindAt = 4;
constexpr std::size_t kDataAt = 8;
constexpr std::size_t kFrameBytes = 12;

/// Where the fields stand in the header's data.
constexpr std::size_t kWidthAt = 0;
constexpr std::size_t kHeightAt = 4;
constexpr std::size_t kSampleBitsAt = 8;
constexpr std::size_t kColorKindAt = 9;
constexpr std::size_t kInterlacedAt = 12;
constexpr std::size_t kHeaderBytes = 13;

/// By the kind of colour: grey, -, red green blue, palette, grey and alpha, -, colours and alpha.
constexpr std::array<uint64_t, 7> kSamples{1, 0, 3, 1, 2, 0, 4};

/// The pixels that stand together in the data: those from column x and row y on, in these steps.
struct Pass {
  uint64_t x, y, stepX, stepY;
};

constexpr std::array<Pass, 1> kWhole{{{0, 0, 1, 1}}};
constexpr std::array<Pass, 7> kInterlaced{
    {{0, 0, 8, 8}, {4, 0, 8, 8}, {0, 4, 4, 8}, {2, 0, 4, 4}, {0, 2, 2, 4}, {1, 0, 2, 2}, {0, 1, 1, 2}}};

/// How many of `size` pixels a pass has.
uint64_t countOf(uint64_t size, uint64_t first, uint64_t step) {
  return size > first ? (size - first + step - 1) / step : 0;
}

/// Each row is one byte, for its filter, and its pixels in whole bytes.
template <std::size_t kCount>
uint64_t rowBytes(const PngHeader& header, const std::array<Pass, kCount>& passes) {
  const uint64_t pixelBits = header.sampleBits * kSamples[header.colorKind % kSamples.size()];
  uint64_t bytes = 0;
  for (const Pass& pass : passes) {
    const uint64_t width = countOf(header.width, pass.x, pass.stepX);
    const uint64_t height = countOf(header.height, pass.y, pass.stepY);
    if (width > 0) bytes += height * (1 + (width * pixelBits + 7) / 8);
  }
  return bytes;
}

/// Counts the bytes that packed ones become.
class UnpackedSize {
 public:
  UnpackedSize() {
    if (inflateInit(&stream_) != Z_OK) throw std::bad_alloc();
  }
  ~UnpackedSize() { inflateEnd(&stream_); }
  UnpackedSize(const UnpackedSize&) = delete;
  UnpackedSize& operator=(const UnpackedSize&) = delete;

  /// Counts no further than `enough`, but for a block.
  void add(std::string_view packed, uint64_t enough) {
    // zlib does not write there.
    stream_.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(packed.data()));
    stream_.avail_in = static_cast<uInt>(packed.size());
    int result = Z_OK;
    while (result == Z_OK && bytes_ < enough && (stream_.avail_in > 0 || stream_.avail_out == 0)) {
      stream_.next_out = block_.data();
      stream_.avail_out = static_cast<uInt>(block_.size());
      result = inflate(&stream_, Z_NO_FLUSH);
      bytes_ += block_.size() - stream_.avail_out;
    }
    if (result == Z_MEM_ERROR) throw std::bad_alloc();
  }

  uint64_t bytes() const { return bytes_; }

 private:
  z_stream stream_{};
  std::array<Bytef, 1 << 15> block_;
  uint64_t bytes_ = 0;
};

/// The number of 32 bits at `at`, the highest first.
uint32_t bigEndian32(std::string_view bytes, std::size_t at) {
  uint32_t number = 0;
  for (std::size_t i = 0; i < 4; ++i) number = number << 8 | static_cast<unsigned char>(bytes[at + i]);
  return number;
}

}  // namespace

std::optional<PngChunk> nextPngChunk(std::string_view file, std::size_t& at) {
  if (file.size() < at || file.size() - at < kFrameBytes) return std::nullopt;
  const std::size_t size = bigEndian32(file, at);
  if (size > file.size() - at - kFrameBytes) return std::nullopt;
  const PngChunk chunk{file.substr(at + kKindAt, kDataAt - kKindAt), file.substr(at + kDataAt, size)};
  at += kFrameBytes + size;
  return chunk;
}

std::optional<PngHeader> pngHeader(std::string_view file) {
  std::size_t at = kPngSignatureBytes;
  const std::optional<PngChunk> chunk = nextPngChunk(file, at);
  if (!chunk || chunk->kind != "IHDR" || chunk->data.size() < kHeaderBytes) return std::nullopt;
  const auto byteAt = [&chunk](std::size_t place) { return static_cast<unsigned char>(chunk->data[place]); };
  return PngHeader{bigEndian32(chunk->data, kWidthAt), bigEndian32(chunk->data, kHeightAt),
                   byteAt(kSampleBitsAt), byteAt(kColorKindAt), byteAt(kInterlacedAt) != 0};
}

bool hasAllPngRows(std::string_view file) {
  const std::optional<PngHeader> header = pngHeader(file);
  if (!header) return false;
  const uint64_t asked = header->isInterlaced ? rowBytes(*header, kInterlaced) : rowBytes(*header, kWhole);
  UnpackedSize data;
  std::size_t at = kPngSignatureBytes;
  while (const std::optional<PngChunk> chunk = nextPngChunk(file, at)) {
    if (chunk->kind == "IDAT") data.add(chunk->data, asked);
  }
  return data.bytes() >= asked;
}

}  // namespace segmask
