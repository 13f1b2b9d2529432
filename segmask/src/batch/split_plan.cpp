#include "src/batch/split_plan.h"

#include <algorithm>
#include <memory>
#include <utility>

#include "core/SwJsonArray.h"
#include "io/UserError.h"
#include "src/json_values.h"
#include "src/render/FrameSource.h"
#include "src/render/PicturePlan.h"
#include "src/render/RenderInputs.h"

namespace segmask {
namespace {

/// The index as far as it can be read; who draws the frames meets what is wrong again, at its place.
FrameIndex readIndex(FrameReader& reader) {
  try {
    while (reader.passOver()) {
    }
    return reader.index();
  } catch (const UserError&) {
    FrameIndex cutOff;
    cutOff.packets = reader.index().packets;
    return cutOff;
  }
}

/// The number of the frame that is drawn first; 0 where the times are unknown and decide it.
uint64_t firstFrame(const RenderOptions& options, const FrameIndex& index, AVRational tick) {
  if (!options.start) return 0;
  const StartPoint start = parseStartPoint(*options.start);
  if (!start.seconds) return start.frame;
  const auto found = std::find_if(index.times.begin(), index.times.end(), [&](int64_t time) {
    return !isBeforeTime(time - index.times.front(), tick, *start.seconds);
  });
  return static_cast<uint64_t>(found - index.times.begin());
}

IndexedFrames indexedFrames(const FrameIndex& index, uint64_t first, uint64_t frames, int64_t beginning) {
  IndexedFrames indexed;
  indexed.entry = index.entryBefore(first);
  // The first frame is where decoding begins without.
  if (indexed.entry && indexed.entry->frame == 0) indexed.entry.reset();
  indexed.first = first;
  indexed.frames = frames;
  indexed.beginning = beginning;
  indexed.firstTime = index.times[first];
  indexed.lastTime = index.times[first + frames - 1];
  return indexed;
}

SwJsonObject jsonOf(const IndexedFrames& indexed) {
  SwJsonObject object;
  if (indexed.entry) {
    object.insert("entry", indexed.entry->frame);
    object.insert("entry_pts", indexed.entry->pts);
    object.insert("entry_dts", indexed.entry->dts);
  }
  object.insert("first", indexed.first);
  object.insert("frames", indexed.frames);
  object.insert("beginning", indexed.beginning);
  object.insert("first_time", indexed.firstTime);
  object.insert("last_time", indexed.lastTime);
  return object;
}

IndexedFrames indexedIn(const SwJsonObject& object) {
  IndexedFrames indexed;
  if (object.contains("entry")) {
    indexed.entry =
        FrameEntry{countIn(object, "entry"), object["entry_pts"].integer(), object["entry_dts"].integer()};
  }
  indexed.first = countIn(object, "first");
  indexed.frames = countIn(object, "frames");
  indexed.beginning = object["beginning"].integer();
  indexed.firstTime = object["first_time"].integer();
  indexed.lastTime = object["last_time"].integer();
  return indexed;
}

}  // namespace

std::vector<VideoPiece> planPieces(const RenderOptions& options, uint64_t size, bool useIndex) {
  if (options.contactSheet || planPictures(options)) return {};
  ReadOptions reading = readOptionsOf(options);
  reading.sideStreams = SideKinds::None;
  reading.index = true;
  const std::unique_ptr<FrameReader> reader = openFrameReader(options.input, reading);
  const FrameIndex index = readIndex(*reader);
  const uint64_t first = firstFrame(options, index, reader->format().timeBase);
  uint64_t total = index.packets - std::min(first, index.packets);
  if (options.frames) total = std::min(total, *options.frames);
  if (total <= size) return {};

  std::vector<VideoPiece> pieces;
  const bool isIndexed = useIndex && !index.times.empty();
  for (uint64_t offset = 0; offset < total; offset += size) {
    VideoPiece piece;
    piece.number = pieces.size();
    piece.offset = offset;
    piece.isLast = total - offset <= size;
    piece.frames = size;
    if (piece.isLast) piece.frames = options.frames ? std::optional(*options.frames - offset) : std::nullopt;
    if (isIndexed) {
      const int64_t beginning = options.start ? index.times[first] : 0;
      piece.indexed = indexedFrames(index, first + offset, std::min(size, total - offset), beginning);
    }
    pieces.push_back(piece);
  }
  return pieces;
}

std::string piecesText(const std::vector<VideoPiece>& pieces) {
  SwJsonArray list;
  for (const VideoPiece& piece : pieces) {
    SwJsonObject object;
    object.insert("offset", piece.offset);
    if (piece.frames) object.insert("frames", *piece.frames);
    if (piece.indexed) object.insert("indexed", jsonOf(*piece.indexed));
    list.append(std::move(object));
  }
  SwJsonObject object;
  object.insert("pieces", std::move(list));
  return jsonLine(std::move(object));
}

std::vector<VideoPiece> piecesIn(const SwJsonObject& plan) {
  const SwJsonArray* const list = plan["pieces"].array();
  std::vector<VideoPiece> pieces;
  for (std::size_t i = 0; list && i < list->size(); ++i) {
    const SwJsonObject& object = *(*list)[i].object();
    VideoPiece piece;
    piece.number = i;
    piece.offset = countIn(object, "offset");
    piece.isLast = i + 1 == list->size();
    if (object.contains("frames")) piece.frames = countIn(object, "frames");
    if (object["indexed"].object()) piece.indexed = indexedIn(*object["indexed"].object());
    pieces.push_back(piece);
  }
  return pieces;
}

}  // namespace segmask
