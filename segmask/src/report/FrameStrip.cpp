#include "src/report/FrameStrip.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "io/nv12.h"
#include "video/PngEncoder.h"

namespace segmask {
namespace {

constexpr int kMostWidth = 400;
constexpr int kMostHeight = 300;
constexpr std::size_t kRgbBytes = 3;

int scaled(int side, double scale) {
  return std::max(1, static_cast<int>(std::lround(side * scale)));
}

}  // namespace

void FrameStrip::offer(const Moment& moment, const segmask::Frame& frame, const VideoFormat& format) {
  const bool isSpread = spread_.wants(moment.frame);
  const bool hasMostDrawn = moment.drawn > mostDrawn_.drawn;
  const bool hasMostDropped = moment.dropped > mostDropped_.dropped;
  if (!isSpread && !hasMostDrawn && !hasMostDropped) return;
  Picture picture = makePicture(moment, frame, format);
  if (hasMostDrawn) mostDrawn_ = picture;
  if (hasMostDropped) mostDropped_ = picture;
  if (isSpread) spread_.add(std::move(picture));
}

FrameStrip::Picture FrameStrip::makePicture(const Moment& moment, const segmask::Frame& frame,
                                            const VideoFormat& format) {
  const double scale = std::min({1.0, static_cast<double>(kMostWidth) / format.width,
                                 static_cast<double>(kMostHeight) / format.height});
  Picture picture;
  static_cast<Moment&>(picture) = moment;
  picture.width = scaled(format.width, scale);
  picture.height = scaled(format.height, scale);
  if (!converter_ || !convertsAlike(format, format_)) {
    converter_ = std::make_unique<RgbConverter>(format, picture.width, picture.height);
    format_ = format;
  }
  const AVFrame& rgb = converter_->convert(frame.nv12);
  const std::size_t rowBytes = kRgbBytes * static_cast<std::size_t>(picture.width);
  picture.rgb.resize(rowBytes * static_cast<std::size_t>(picture.height));
  copyRows({rgb.data[0], rgb.linesize[0]}, {picture.rgb.data(), static_cast<std::ptrdiff_t>(rowBytes)},
           rowBytes, picture.height);
  return picture;
}

std::vector<FrameStrip::Shown> FrameStrip::pictures(std::size_t spread) const {
  std::vector<Shown> strip;
  const auto show = [&strip](const Picture& picture) -> Shown& {
    const auto same = std::find_if(strip.begin(), strip.end(), [&picture](const Shown& other) {
      return other.picture->frame == picture.frame;
    });
    return same != strip.end() ? *same : strip.emplace_back(Shown{&picture});
  };
  for (const Picture* picture : spread_.pick(spread)) show(*picture);
  if (mostDrawn_.drawn > 0) show(mostDrawn_).hasMostDrawn = true;
  if (mostDropped_.dropped > 0) show(mostDropped_).hasMostDropped = true;
  std::sort(strip.begin(), strip.end(),
            [](const Shown& a, const Shown& b) { return a.picture->frame < b.picture->frame; });
  return strip;
}

std::string pngOf(const FrameStrip::Picture& picture) {
  const AVFramePtr frame = makeAVFrame(AV_PIX_FMT_RGB24, picture.width, picture.height);
  const std::size_t rowBytes = kRgbBytes * static_cast<std::size_t>(picture.width);
  copyRows({picture.rgb.data(), static_cast<std::ptrdiff_t>(rowBytes)}, {frame->data[0], frame->linesize[0]},
           rowBytes, picture.height);
  return PngEncoder(picture.width, picture.height).encode(*frame);
}

}  // namespace segmask
