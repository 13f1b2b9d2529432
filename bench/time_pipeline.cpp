// Times drawing in GStreamer, for scripts/bench --gstreamer: the element segmaskoverlay beside the plug-in
// that a C++ host drives with the same file, and beside drawing by OpenCV between an appsink and an appsrc,
// in the two ways in which users do that.

#include <gst/app/gstappsink.h>
#include <gst/app/gstappsrc.h>
#include <gst/check/gstharness.h>
#include <gst/video/video.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <functional>
#include <memory>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "detection/class_color.h"
#include "host/DetectionPayload.h"
#include "host/DetectionStream.h"
#include "host/PlanesRenderer.h"
#include "host/PluginChoice.h"
#include "host/PluginHost.h"
#include "host/ProducerInputs.h"
#include "mask/mask_text.h"

namespace {

constexpr int kWidth = 1920;
constexpr int kHeight = 1080;
constexpr int kScale = 4;  // frame pixels a mask pixel, each way
constexpr int kRounds = 9;
constexpr int kFrames = 10;
constexpr double kAlpha = 0.45;
constexpr char kCaps[] = "video/x-raw,format=NV12,width=1920,height=1080,framerate=30/1";
const segmask::Nv12Layout kLayout{kWidth, kHeight};

/// Of this process, with the threads of the pipelines.
double milliseconds() {
  timespec time{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

/// What a segmenter gives for a person of about 200x400: a box, and a mask of a quarter of the frame.
struct Person {
  int classId;
  cv::Rect box;
  cv::Mat mask;
  std::string text;
};

Person person(int i) {
  Person one{i, {i * 398 % (kWidth - 200), i * 212 % (kHeight - 400), 200, 400}, {}, {}};
  one.mask = cv::Mat::zeros(kHeight / kScale, kWidth / kScale, CV_8U);
  for (int row = 0; row < one.mask.rows; ++row) {
    for (int column = 0; column < one.mask.cols; ++column) {
      const double dx = (kScale * (column + 0.5) - one.box.x) / 100 - 1;
      const double dy = (kScale * (row + 0.5) - one.box.y) / 200 - 1;
      const double edge = (0.3 + 0.05 * std::sin(7 * std::atan2(dy, dx) + i)) / 0.35;
      if (std::hypot(dx, dy) < edge) one.mask.at<uint8_t>(row, column) = 255;
    }
  }
  one.text = seg_mask::encodeMaskText(
      seg_mask::packMask(one.mask.data, one.mask.cols, one.mask.rows, static_cast<int>(one.mask.step)));
  return one;
}

std::vector<Person> people(int count) {
  std::vector<Person> all;
  for (int i = 0; i < count; ++i) all.push_back(person(i));
  return all;
}

/// A line of these people for each of the frames that a run draws; returns the file's path.
std::string writeLines(const std::vector<Person>& all, const std::string& folder) {
  std::string detections;
  for (const Person& one : all) {
    detections += (detections.empty() ? "" : ", ") + (R"({"x": )" + std::to_string(one.box.x)) +
                  R"(, "y": )" + std::to_string(one.box.y) +
                  R"(, "w": 200, "h": 400, "score": 1, "class_id": )" + std::to_string(one.classId) +
                  R"(, "class_info": ")" + one.text + "\"}";
  }
  const std::string path = folder + "/lines.jsonl";
  std::ofstream file(path);
  for (int frame = 0; frame < kRounds * kFrames; ++frame) {
    file << R"({"frame": )" << frame << R"(, "producer": "p", "detections": [)" << detections << "]}\n";
  }
  if (!file.flush()) throw std::runtime_error("cannot write " + path);
  return path;
}

std::vector<unsigned char> darkFrame() {
  std::vector<unsigned char> bytes(kLayout.frameBytes(), 128);
  std::fill_n(bytes.begin(), kLayout.lumaBytes(), 24);
  return bytes;
}

GstBuffer* newBuffer() {
  const std::vector<unsigned char> bytes = darkFrame();
  return gst_buffer_new_memdup(bytes.data(), bytes.size());
}

/// A way to draw the next frame. What it draws on may be drawn on already.
using Way = std::function<void()>;

/// The plug-in as `segmask render` drives it, but on one frame in memory.
Way byHost(const std::string& file, bool fast) {
  struct Host {
    Host(const std::string& path, bool isFast)
        : stream(path, {kWidth, kHeight}), plugin(segmask::PluginChoice{std::nullopt, isFast}.path()) {}
    std::vector<unsigned char> planes = darkFrame();
    segmask::DetectionStream stream;
    segmask::ProducerInputs inputs{0};
    uint64_t next = 0;
    segmask::PlanesRenderer renderer{kLayout};
    segmask::PluginHost plugin;
  };
  segmask::registerDetectionPayload();
  return [host = std::make_shared<Host>(file, fast)] {
    host->inputs.advance(host->next, host->stream.take(host->next));
    host->renderer.render(host->plugin.plugin(), host->next++, {host->planes.data(), kWidth},
                          {host->planes.data() + kLayout.lumaBytes(), kWidth}, host->inputs);
  };
}

/// The element with the same file, and one buffer that goes through it again and again.
Way byElement(const std::string& file, bool fast) {
  const std::string text = "segmaskoverlay location=" + file + (fast ? " fast=true" : "");
  GstHarness* const harness = gst_harness_new_parse(text.c_str());
  gst_harness_set_src_caps_str(harness, kCaps);
  const auto next = std::make_shared<uint64_t>(0);
  const auto buffer = std::make_shared<GstBuffer*>(newBuffer());
  return [=] {
    GST_BUFFER_PTS(*buffer) = gst_util_uint64_scale((*next)++, GST_SECOND, 30);
    if (gst_harness_push(harness, *buffer) != GST_FLOW_OK) throw std::runtime_error("the element refuses");
    *buffer = gst_harness_pull(harness);
  };
}

/// A running pipeline of which frames go in by an appsrc and come out by an appsink.
class AppPipeline {
 public:
  explicit AppPipeline(const std::string& middle) {
    const std::string text = "appsrc name=in format=time caps=" + std::string(kCaps) + " ! " + middle +
                             " ! appsink name=out sync=false async=false";
    GError* error = nullptr;
    pipeline_ = gst_parse_launch(text.c_str(), &error);
    if (error) throw std::runtime_error(error->message);
    gst_element_set_state(pipeline_, GST_STATE_PLAYING);
  }

  GstElement* find(const char* name) const { return gst_bin_get_by_name(GST_BIN(pipeline_), name); }

  /// Pushes the buffer and returns what comes out.
  GstBuffer* pass(GstBuffer* buffer) {
    GST_BUFFER_PTS(buffer) = gst_util_uint64_scale(next_++, GST_SECOND, 30);
    gst_app_src_push_buffer(GST_APP_SRC(in_ ? in_ : in_ = find("in")), buffer);
    return pull(GST_APP_SINK(out_ ? out_ : out_ = find("out")));
  }

  static GstBuffer* pull(GstAppSink* sink) {
    GstSample* const sample = gst_app_sink_pull_sample(sink);
    if (!sample) throw std::runtime_error("the pipeline has ended");
    GstBuffer* const buffer = gst_buffer_ref(gst_sample_get_buffer(sample));
    gst_sample_unref(sample);
    return buffer;
  }

 private:
  GstElement* pipeline_;
  GstElement* in_ = nullptr;
  GstElement* out_ = nullptr;
  uint64_t next_ = 0;
};

/// The element between appsrc and appsink, with the people as regions of the buffer.
Way byElementInPipeline(const std::vector<Person>& all, bool fast,
                        const std::shared_ptr<GstBuffer*>& buffer) {
  const auto pipeline = std::make_shared<AppPipeline>(fast ? "segmaskoverlay fast=true" : "segmaskoverlay");
  return [=] {
    for (const Person& one : all) {
      gst_video_region_of_interest_meta_add_param(
          gst_buffer_add_video_region_of_interest_meta(
              *buffer, "person", static_cast<guint>(one.box.x), static_cast<guint>(one.box.y),
              static_cast<guint>(one.box.width), static_cast<guint>(one.box.height)),
          gst_structure_new("detection", "class-id", G_TYPE_INT, one.classId, "score", G_TYPE_DOUBLE, 1.0,
                            "mask", G_TYPE_STRING, one.text.c_str(), nullptr));
    }
    *buffer = gst_buffer_make_writable(pipeline->pass(*buffer));
    while (GstVideoRegionOfInterestMeta* const meta = gst_buffer_get_video_region_of_interest_meta(*buffer)) {
      gst_buffer_remove_meta(*buffer, &meta->meta);
    }
  };
}

/// Blends a colour into a part of an image where the mask is set.
void blend(cv::Mat part, const cv::Mat& mask, const cv::Scalar& color) {
  cv::Mat blended(part.size(), part.type(), color);
  cv::addWeighted(blended, kAlpha, part, 1 - kAlpha, 0, blended);
  blended.copyTo(part, mask);
}

/// The part of a person's mask that its box shows, as large as the box.
cv::Mat maskOfBox(const Person& one) {
  const cv::Rect part(one.box.x / kScale, one.box.y / kScale, one.box.width / kScale,
                      one.box.height / kScale);
  cv::Mat mask;
  cv::resize(one.mask(part), mask, one.box.size(), 0, 0, cv::INTER_NEAREST);
  return mask;
}

/// On the planes of NV12: what a user writes who cares for speed.
void drawPlanes(GstVideoFrame* frame, const std::vector<Person>& all) {
  cv::Mat luma(kHeight, kWidth, CV_8UC1, GST_VIDEO_FRAME_PLANE_DATA(frame, 0),
               static_cast<std::size_t>(GST_VIDEO_FRAME_PLANE_STRIDE(frame, 0)));
  cv::Mat chroma(kHeight / 2, kWidth / 2, CV_8UC2, GST_VIDEO_FRAME_PLANE_DATA(frame, 1),
                 static_cast<std::size_t>(GST_VIDEO_FRAME_PLANE_STRIDE(frame, 1)));
  for (const Person& one : all) {
    const seg_mask::YuvColor color = seg_mask::classColor(one.classId);
    const cv::Mat mask = maskOfBox(one);
    blend(luma(one.box), mask, {static_cast<double>(color.y)});
    cv::Mat half;
    cv::resize(mask, half, {one.box.width / 2, one.box.height / 2}, 0, 0, cv::INTER_NEAREST);
    blend(chroma({one.box.x / 2, one.box.y / 2, one.box.width / 2, one.box.height / 2}), half,
          {static_cast<double>(color.u), static_cast<double>(color.v)});
  }
}

/// On BGR, which OpenCV's examples draw on.
void drawBgr(GstVideoFrame* frame, const std::vector<Person>& all) {
  cv::Mat image(kHeight, kWidth, CV_8UC3, GST_VIDEO_FRAME_PLANE_DATA(frame, 0),
                static_cast<std::size_t>(GST_VIDEO_FRAME_PLANE_STRIDE(frame, 0)));
  for (const Person& one : all) {
    const seg_mask::RgbColor color = seg_mask::paletteColor(one.classId);
    blend(image(one.box), maskOfBox(one),
          {static_cast<double>(color.b), static_cast<double>(color.g), static_cast<double>(color.r)});
  }
}

/// Two pipelines with the drawing between them. `convert` and `back` are the elements before the appsink and
/// behind the appsrc.
Way byOpenCv(const std::vector<Person>& all, GstVideoFormat format, const std::string& convert,
             const std::string& back, void (*draw)(GstVideoFrame*, const std::vector<Person>&),
             const std::shared_ptr<GstBuffer*>& buffer) {
  const auto name = std::string(gst_video_format_to_string(format));
  const std::string caps = "video/x-raw,format=" + name + ",width=1920,height=1080,framerate=30/1";
  const std::string middle =
      convert + " ! appsink name=taken sync=false async=false appsrc name=given format=time caps=" + caps +
      " ! " + back;
  const auto pipeline = std::make_shared<AppPipeline>(middle);
  GstElement* const in = pipeline->find("in");
  GstElement* const taken = pipeline->find("taken");
  GstElement* const given = pipeline->find("given");
  GstElement* const out = pipeline->find("out");
  GstVideoInfo info;
  gst_video_info_init(&info);
  gst_video_info_set_format(&info, format, kWidth, kHeight);
  const auto next = std::make_shared<uint64_t>(0);
  return [=]() mutable {
    GST_BUFFER_PTS(*buffer) = gst_util_uint64_scale((*next)++, GST_SECOND, 30);
    gst_app_src_push_buffer(GST_APP_SRC(in), *buffer);
    GstBuffer* const between = gst_buffer_make_writable(AppPipeline::pull(GST_APP_SINK(taken)));
    GstVideoFrame frame;
    if (!gst_video_frame_map(&frame, &info, between, GST_MAP_READWRITE)) throw std::runtime_error("no frame");
    draw(&frame, all);
    gst_video_frame_unmap(&frame);
    gst_app_src_push_buffer(GST_APP_SRC(given), between);
    *buffer = gst_buffer_make_writable(AppPipeline::pull(GST_APP_SINK(out)));
  };
}

/// Our drawing and OpenCV's round differently: a luma sample may differ by one.
void requireSameLuma(GstBuffer* ours, GstBuffer* theirs) {
  std::vector<unsigned char> a(kLayout.lumaBytes());
  std::vector<unsigned char> b(a.size());
  gst_buffer_extract(ours, 0, a.data(), a.size());
  gst_buffer_extract(theirs, 0, b.data(), b.size());
  std::size_t drawn = 0;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (std::abs(a[i] - b[i]) > 1) throw std::runtime_error("the element and OpenCV draw differently");
    drawn += a[i] != 24 ? 1 : 0;
  }
  if (drawn < 10000) throw std::runtime_error("hardly anything is drawn");
}

struct Row {
  std::string name;
  Way way;
  std::vector<double> times;
};

void measure(std::vector<Row>& rows) {
  for (int round = 0; round < kRounds; ++round) {
    for (Row& row : rows) {
      // The first frame of all has to set everything up.
      if (round == 0) row.way();
      const int frames = round == 0 ? kFrames - 1 : kFrames;
      const double begin = milliseconds();
      for (int i = 0; i < frames; ++i) row.way();
      row.times.push_back((milliseconds() - begin) / frames);
    }
  }
}

void run(int count, bool fast, const std::string& folder) {
  const std::vector<Person> all = people(count);
  const std::string file = writeLines(all, folder);
  const auto ours = std::make_shared<GstBuffer*>(newBuffer());
  const auto theirs = std::make_shared<GstBuffer*>(newBuffer());
  std::vector<Row> rows;
  rows.push_back({"a C++ host, detections of a file", byHost(file, fast), {}});
  rows.push_back({"`segmaskoverlay`, the same file", byElement(file, fast), {}});
  rows.push_back({"appsrc ! `segmaskoverlay` ! appsink, regions of the buffer",
                  byElementInPipeline(all, fast, ours),
                  {}});
  rows.push_back({"OpenCV on NV12, between appsink and appsrc",
                  byOpenCv(all, GST_VIDEO_FORMAT_NV12, "identity", "identity", drawPlanes, theirs),
                  {}});
  rows.push_back(
      {"OpenCV on BGR, between appsink and appsrc, with videoconvert",
       byOpenCv(all, GST_VIDEO_FORMAT_BGR, "videoconvert ! video/x-raw,format=BGR",
                std::string("videoconvert ! ") + kCaps, drawBgr, std::make_shared<GstBuffer*>(newBuffer())),
       {}});
  rows[2].way();
  rows[3].way();
  if (count == 1) requireSameLuma(*ours, *theirs);
  measure(rows);
  for (std::size_t i = 0; i < rows.size(); ++i) {
    std::vector<double>& times = rows[i].times;
    std::nth_element(times.begin(), times.begin() + kRounds / 2, times.end());
    std::printf("%s\"%s\": %.6f", i == 0 ? "{" : ", ", rows[i].name.c_str(), times[kRounds / 2]);
  }
  std::puts("}");
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4) {
    std::fputs(
        "usage: time_pipeline PEOPLE fast|plain FOLDER\n\n"
        "Prints the milliseconds of processor time a frame, by way of drawing, as JSON. FOLDER is for a "
        "file.\n",
        stderr);
    return 2;
  }
  try {
    gst_init(nullptr, nullptr);
    run(std::stoi(argv[1]), std::string(argv[2]) == "fast", argv[3]);
    return 0;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "time_pipeline: %s\n", error.what());
    return 1;
  }
}
