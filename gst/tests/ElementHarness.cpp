#include "tests/ElementHarness.h"

#include <gst/video/video.h>
#include <gtest/gtest.h>

#include <cstdlib>

#include "host/PluginHost.h"
#include "test_support/TempFolder.h"

void startGStreamer() {
  static const bool started = [] {
    setenv("GST_REGISTRY_DISABLE", "yes", 1);
    setenv("GST_PLUGIN_SYSTEM_PATH_1_0", "", 1);
    gst_init(nullptr, nullptr);
    std::vector<std::string> files{GST_SEGMASK_FILE};
    for (const char* name : {"coreelements", "rawparse", "videotestsrc"}) {
      files.push_back(std::string(GST_MODULES "/libgst") + name + ".so");
    }
    for (const std::string& file : files) {
      GError* error = nullptr;
      GstPlugin* const plugin = gst_plugin_load_file(file.c_str(), &error);
      if (!plugin) throw std::runtime_error(error->message);
      gst_object_unref(plugin);
    }
    return true;
  }();
  static_cast<void>(started);
}

bool drawsFast() {
  const char* const file = std::getenv("SEG_MASK_PLUGIN");
  return file && std::string(file).find(segmask::kFastPluginFile) != std::string::npos;
}

std::string nextMessage(GstBus* bus, GstMessageType type) {
  GstMessage* const message = gst_bus_pop_filtered(bus, type);
  if (!message) return "";
  GError* error = nullptr;
  if (type == GST_MESSAGE_ERROR) {
    gst_message_parse_error(message, &error, nullptr);
  } else {
    gst_message_parse_warning(message, &error, nullptr);
  }
  std::string text = error->message;
  g_error_free(error);
  gst_message_unref(message);
  return text;
}

std::string renderedByTool(const std::string& frames, const segmask::Nv12Layout& layout,
                           const std::string& detections, const std::string& options) {
  const TempFolder folder;
  const std::string input = folder.write("in.nv12", frames);
  const std::string output = folder.path("out.nv12");
  const std::string size = std::to_string(layout.width) + "x" + std::to_string(layout.height);
  const std::string command = SEGMASK_TOOL " render --no-progress --input " + input + " --size " + size +
                              " --detections " + detections + " --output " + output + " " + options + " > " +
                              folder.path("log") + " 2>&1";
  // NOLINTNEXTLINE(concurrency-mt-unsafe): no other thread asks for the environment meanwhile
  EXPECT_EQ(std::system(command.c_str()), 0) << readFile(folder.path("log"));
  return readFile(output);
}

ElementHarness::ElementHarness(const std::string& properties) {
  startGStreamer();
  const std::string fast = drawsFast() ? " fast=true " : " ";
  const std::string text = "segmaskoverlay" + fast + properties;
  element_ = gst_parse_launch(text.c_str(), nullptr);
  harness_.reset(gst_harness_new_with_element(element_, "sink", "src"));
  gst_object_unref(element_);  // the harness holds it
  bus_.reset(gst_bus_new());
  gst_element_set_bus(element_, bus_.get());
}

void ElementHarness::setFormat(const segmask::Nv12Layout& layout, const std::string& rate) {
  layout_ = layout;
  const std::string caps = "video/x-raw,format=NV12,width=" + std::to_string(layout.width) +
                           ",height=" + std::to_string(layout.height) + ",framerate=" + rate;
  gst_harness_set_src_caps_str(get(), caps.c_str());
}

BufferPtr ElementHarness::buffer(const std::string& packed, Padding padding) const {
  const auto width = static_cast<std::size_t>(layout_.width);
  gint strides[GST_VIDEO_MAX_PLANES] = {static_cast<gint>(width + padding.behindRow),
                                        static_cast<gint>(layout_.chromaRowBytes() + padding.behindRow)};
  gsize offsets[GST_VIDEO_MAX_PLANES] = {padding.before};
  offsets[1] =
      padding.before + static_cast<gsize>(strides[0]) * static_cast<gsize>(layout_.height) + padding.before;
  const gsize whole = offsets[1] + static_cast<gsize>(strides[1]) * static_cast<gsize>(layout_.chromaRows());
  std::string bytes(whole, '\x4D');
  auto* const base = reinterpret_cast<unsigned char*>(bytes.data());
  const auto* const from = reinterpret_cast<const unsigned char*>(packed.data());
  segmask::copyRows({from, layout_.width}, {base + offsets[0], strides[0]}, width, layout_.height);
  segmask::copyRows({from + layout_.lumaBytes(), static_cast<std::ptrdiff_t>(layout_.chromaRowBytes())},
                    {base + offsets[1], strides[1]}, layout_.chromaRowBytes(), layout_.chromaRows());
  BufferPtr buffer(gst_buffer_new_memdup(bytes.data(), bytes.size()));
  gst_buffer_add_video_meta_full(buffer.get(), GST_VIDEO_FRAME_FLAG_NONE, GST_VIDEO_FORMAT_NV12,
                                 static_cast<guint>(layout_.width), static_cast<guint>(layout_.height), 2,
                                 offsets, strides);
  return buffer;
}

BufferPtr ElementHarness::frame(uint64_t number, const std::string& packed) const {
  BufferPtr one = buffer(packed);
  GST_BUFFER_PTS(one.get()) = timeOf(number);
  GST_BUFFER_DURATION(one.get()) = timeOf(1);
  return one;
}

std::string ElementHarness::drawn(const std::string& packed, const std::vector<uint64_t>& numbers) {
  std::string all;
  const std::size_t bytes = layout_.frameBytes();
  for (std::size_t i = 0; i < numbers.size(); ++i) {
    EXPECT_EQ(push(frame(numbers[i], packed.substr(i * bytes, bytes))), GST_FLOW_OK);
    const BufferPtr out = pull();
    if (!out) throw std::runtime_error("nothing came out for frame " + std::to_string(numbers[i]));
    all += this->packed(out.get());
  }
  return all;
}

std::string ElementHarness::packed(GstBuffer* buffer) const {
  GstVideoInfo info;
  gst_video_info_init(&info);
  gst_video_info_set_format(&info, GST_VIDEO_FORMAT_NV12, static_cast<guint>(layout_.width),
                            static_cast<guint>(layout_.height));
  GstVideoFrame frame;
  if (!gst_video_frame_map(&frame, &info, buffer, GST_MAP_READ)) throw std::runtime_error("no frame");
  std::string bytes(layout_.frameBytes(), '\0');
  auto* const to = reinterpret_cast<unsigned char*>(bytes.data());
  const auto plane = [&](guint index) {
    return segmask::ConstPlane{static_cast<const unsigned char*>(GST_VIDEO_FRAME_PLANE_DATA(&frame, index)),
                               GST_VIDEO_FRAME_PLANE_STRIDE(&frame, index)};
  };
  segmask::copyRows(plane(0), {to, layout_.width}, static_cast<std::size_t>(layout_.width), layout_.height);
  segmask::copyRows(plane(1),
                    {to + layout_.lumaBytes(), static_cast<std::ptrdiff_t>(layout_.chromaRowBytes())},
                    layout_.chromaRowBytes(), layout_.chromaRows());
  gst_video_frame_unmap(&frame);
  return bytes;
}

void ElementHarness::set(const char* text) {
  const std::string whole = text;
  const std::size_t at = whole.find('=');
  gst_util_set_object_arg(G_OBJECT(element()), whole.substr(0, at).c_str(), whole.substr(at + 1).c_str());
}
