#include "src/element.h"

#include <algorithm>
#include <exception>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "io/UserError.h"
#include "src/FrameCounter.h"
#include "src/StreamDrawing.h"
#include "src/region_detections.h"

GST_DEBUG_CATEGORY_STATIC(segmask_overlay_debug);
#define GST_CAT_DEFAULT segmask_overlay_debug

namespace {

using segmask::DetectionLine;
using segmask::UserError;
using segmask_gst::StreamDrawing;

enum Property : guint {
  kPlugin = 1,
  kFast,
  kConfig,
  kLocation,
  kLookback,
  kDebug,
  kDetectionsSeen,
  kFramesDrawn,
};

constexpr gboolean kDefaultFast = FALSE;
constexpr guint kDefaultLookback = 0;
constexpr gboolean kDefaultDebug = FALSE;

/// The properties, which any thread may set and read.
struct Properties {
  segmask_gst::DrawingOptions options;
  std::string config;
  bool debug = kDefaultDebug;
  bool changed = false;  ///< config or debug, since the drawing had them
  guint64 detectionsSeen = 0;
  guint64 framesDrawn = 0;
};

}  // namespace

/// GLib allocates and frees the instance; `state` is ours.
struct _GstSegmaskOverlay {
  GstVideoFilter parent;
  struct State* state;
};

struct State {
  std::mutex mutex;  ///< guards `properties`
  Properties properties;

  // What follows belongs to the streaming thread, and to start and stop, which never run beside it.
  std::unique_ptr<StreamDrawing> drawing;  ///< null while stopped
  segmask_gst::FrameCounter counter;
  bool warnedOfRegions = false;
  std::vector<std::string> configWarnings;  ///< of the configuration that was applied last
};

G_DEFINE_TYPE(GstSegmaskOverlay, gst_segmask_overlay, GST_TYPE_VIDEO_FILTER)
GST_ELEMENT_REGISTER_DEFINE(segmaskoverlay, "segmaskoverlay", GST_RANK_NONE, gst_segmask_overlay_get_type())

namespace {

State& stateOf(gpointer object) {
  return *GST_SEGMASK_OVERLAY(object)->state;
}

const char* textOrEmpty(const GValue* value) {
  const char* const text = g_value_get_string(value);
  return text ? text : "";
}

/// An empty text is no value, which is what a property that was never set has.
void setText(GValue* value, const std::string& text) {
  g_value_set_string(value, text.empty() ? nullptr : text.c_str());
}

void setProperty(GObject* object, guint id, const GValue* value, GParamSpec* spec) {
  State& state = stateOf(object);
  const std::lock_guard<std::mutex> lock(state.mutex);
  Properties& properties = state.properties;
  switch (id) {
    case kPlugin: {
      const std::string file = textOrEmpty(value);
      properties.options.plugin.file = file.empty() ? std::nullopt : std::optional(file);
      return;
    }
    case kFast:
      properties.options.plugin.fast = g_value_get_boolean(value) != FALSE;
      return;
    case kConfig:
      properties.config = textOrEmpty(value);
      properties.changed = true;
      return;
    case kLocation:
      properties.options.location = textOrEmpty(value);
      return;
    case kLookback:
      properties.options.lookback = g_value_get_uint(value);
      return;
    case kDebug:
      properties.debug = g_value_get_boolean(value) != FALSE;
      properties.changed = true;
      return;
    default:
      G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, spec);
  }
}

void getProperty(GObject* object, guint id, GValue* value, GParamSpec* spec) {
  State& state = stateOf(object);
  const std::lock_guard<std::mutex> lock(state.mutex);
  const Properties& properties = state.properties;
  switch (id) {
    case kPlugin:
      setText(value, properties.options.plugin.file.value_or(""));
      return;
    case kFast:
      g_value_set_boolean(value, properties.options.plugin.fast);
      return;
    case kConfig:
      setText(value, properties.config);
      return;
    case kLocation:
      setText(value, properties.options.location);
      return;
    case kLookback:
      g_value_set_uint(value, static_cast<guint>(properties.options.lookback));
      return;
    case kDebug:
      g_value_set_boolean(value, properties.debug);
      return;
    case kDetectionsSeen:
      g_value_set_uint64(value, properties.detectionsSeen);
      return;
    case kFramesDrawn:
      g_value_set_uint64(value, properties.framesDrawn);
      return;
    default:
      G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, spec);
  }
}

/// Posts an element error or warning on the bus.
void post(GstBaseTransform* transform, GstMessageType type, GQuark domain, gint code, const std::string& text,
          const char* debug = nullptr) {
  gst_element_message_full(GST_ELEMENT(transform), type, domain, code, g_strdup(text.c_str()),
                           g_strdup(debug), __FILE__, GST_FUNCTION, __LINE__);
}

/// Calls `body`, which may throw anything, and turns that into an element error. Whether it has ended well.
template <class Body>
bool withoutThrowing(GstBaseTransform* transform, const Body& body) {
  try {
    body();
    return true;
  } catch (const UserError& error) {
    post(transform, GST_MESSAGE_ERROR, GST_RESOURCE_ERROR, GST_RESOURCE_ERROR_FAILED, error.what());
  } catch (const std::exception& error) {
    post(transform, GST_MESSAGE_ERROR, GST_LIBRARY_ERROR, GST_LIBRARY_ERROR_FAILED, error.what());
  }
  return false;
}

/// Posts what the plug-in passes over in a configuration, and not again what it passed over in the last one:
/// the configuration may change with every frame.
void warnOfConfig(GstBaseTransform* transform, State& state, std::vector<std::string> warnings) {
  const std::vector<std::string> known = std::exchange(state.configWarnings, std::move(warnings));
  for (const std::string& warning : state.configWarnings) {
    if (std::find(known.begin(), known.end(), warning) != known.end()) continue;
    post(transform, GST_MESSAGE_WARNING, GST_RESOURCE_ERROR, GST_RESOURCE_ERROR_SETTINGS,
         "config: " + warning);
  }
}

/// Takes over what was set since the last time. Before the first frame a bad configuration is an error; later
/// the one before it stays.
void takeSettings(GstBaseTransform* transform, State& state, bool isFirst) {
  std::string config;
  bool debug = false;
  {
    const std::lock_guard<std::mutex> lock(state.mutex);
    if (!isFirst && !state.properties.changed) return;
    state.properties.changed = false;
    config = state.properties.config;
    debug = state.properties.debug;
  }
  state.drawing->enableDebug(debug);
  try {
    warnOfConfig(transform, state, state.drawing->configure(config.empty() ? "{}" : config));
  } catch (const UserError& error) {
    if (isFirst) throw;
    post(transform, GST_MESSAGE_WARNING, GST_RESOURCE_ERROR, GST_RESOURCE_ERROR_SETTINGS,
         std::string(error.what()) + "; the last one still counts");
  }
}

gboolean start(GstBaseTransform* transform) {
  State& state = stateOf(transform);
  const gboolean started = withoutThrowing(transform, [&] {
    segmask_gst::DrawingOptions options;
    {
      const std::lock_guard<std::mutex> lock(state.mutex);
      options = state.properties.options;
      state.properties.detectionsSeen = 0;
      state.properties.framesDrawn = 0;
    }
    state.drawing = std::make_unique<StreamDrawing>(options);
    state.counter = {};
    state.warnedOfRegions = false;
    state.configWarnings.clear();
    takeSettings(transform, state, true);
    GST_INFO_OBJECT(transform, "draws with %s, detections of %s", options.plugin.path().c_str(),
                    options.location.empty() ? "the buffers alone" : options.location.c_str());
  });
  if (!started) state.drawing.reset();  // the base class does not stop what did not start
  return started;
}

gboolean stop(GstBaseTransform* transform) {
  stateOf(transform).drawing.reset();
  return TRUE;
}

gboolean setInfo(GstVideoFilter* filter, GstCaps*, GstVideoInfo* in, GstCaps*, GstVideoInfo*) {
  State& state = stateOf(filter);
  return withoutThrowing(GST_BASE_TRANSFORM(filter), [&] {
    state.drawing->setLayout({GST_VIDEO_INFO_WIDTH(in), GST_VIDEO_INFO_HEIGHT(in)});
    state.counter.setRate(GST_VIDEO_INFO_FPS_N(in), GST_VIDEO_INFO_FPS_D(in));
  });
}

gboolean sinkEvent(GstBaseTransform* transform, GstEvent* event) {
  if (GST_EVENT_TYPE(event) == GST_EVENT_SEGMENT) {
    const GstSegment* segment = nullptr;
    gst_event_parse_segment(event, &segment);
    stateOf(transform).counter.begin(*segment);
  }
  return GST_BASE_TRANSFORM_CLASS(gst_segmask_overlay_parent_class)->sink_event(transform, event);
}

/// What came with the buffer. A detection that is refused costs itself; the first one is told on the bus too.
std::vector<DetectionLine> deliveredWith(GstBaseTransform* transform, State& state, GstBuffer* buffer) {
  const auto refused = [&](const std::string& why) {
    GST_WARNING_OBJECT(transform, "a detection of a buffer is left out: %s", why.c_str());
    if (std::exchange(state.warnedOfRegions, true)) return;
    post(transform, GST_MESSAGE_WARNING, GST_STREAM_ERROR, GST_STREAM_ERROR_DECODE,
         "A detection of a buffer is left out: " + why,
         "Further ones are in the log alone, GST_DEBUG=segmaskoverlay:3");
  };
  const segmask::Nv12Layout& layout = state.drawing->layout();
  std::vector<DetectionLine> lines;
  if (auto line = segmask_gst::regionDetections(buffer, {layout.width, layout.height}, refused)) {
    lines.push_back(std::move(*line));
  }
  return lines;
}

segmask::Plane planeOf(const GstVideoFrame& frame, guint index) {
  return {static_cast<unsigned char*>(GST_VIDEO_FRAME_PLANE_DATA(&frame, index)),
          GST_VIDEO_FRAME_PLANE_STRIDE(&frame, index)};
}

GstFlowReturn transformFrame(GstVideoFilter* filter, GstVideoFrame* frame) {
  GstBaseTransform* const transform = GST_BASE_TRANSFORM(filter);
  State& state = stateOf(filter);
  const uint64_t number = state.counter.next(transform->segment, GST_BUFFER_PTS(frame->buffer),
                                             GST_BUFFER_DURATION(frame->buffer));
  const bool done = withoutThrowing(transform, [&] {
    takeSettings(transform, state, false);
    const bool drawn = state.drawing->draw(number, planeOf(*frame, 0), planeOf(*frame, 1),
                                           deliveredWith(transform, state, frame->buffer));
    GST_LOG_OBJECT(transform, "frame %" G_GUINT64_FORMAT ": %s", number, drawn ? "drawn" : "nothing to draw");
    const std::lock_guard<std::mutex> lock(state.mutex);
    state.properties.detectionsSeen = state.drawing->detectionsSeen();
    state.properties.framesDrawn += drawn ? 1 : 0;
  });
  return done ? GST_FLOW_OK : GST_FLOW_ERROR;
}

void finalize(GObject* object) {
  delete std::exchange(GST_SEGMASK_OVERLAY(object)->state, nullptr);
  G_OBJECT_CLASS(gst_segmask_overlay_parent_class)->finalize(object);
}

constexpr auto kBeforePlaying =
    static_cast<GParamFlags>(G_PARAM_READWRITE | G_PARAM_STATIC_STRINGS | GST_PARAM_MUTABLE_READY);
constexpr auto kWhilePlaying =
    static_cast<GParamFlags>(G_PARAM_READWRITE | G_PARAM_STATIC_STRINGS | GST_PARAM_MUTABLE_PLAYING);
constexpr auto kReadOnly = static_cast<GParamFlags>(G_PARAM_READABLE | G_PARAM_STATIC_STRINGS);

void installProperties(GObjectClass* object) {
  const auto install = [object](Property id, GParamSpec* spec) {
    g_object_class_install_property(object, id, spec);
  };
  install(kPlugin, g_param_spec_string("plugin", "Plug-in",
                                       "File of the render plug-in; by default the one of segmaskoverlay, "
                                       "beside this element or in the library folders above it",
                                       nullptr, kBeforePlaying));
  install(kFast,
          g_param_spec_boolean("fast", "Fast",
                               "Without `plugin`: draw a frame in one pass (libseg_mask_overlay_fused.so), "
                               "to the same bytes; one choice for all elements of a process",
                               kDefaultFast, kBeforePlaying));
  install(kConfig,
          g_param_spec_string("config", "Configuration",
                              "JSON object with the settings of the plug-in, from the next frame on, "
                              "like {\"alpha\": 0.5, \"min_score\": 0.3, \"max_overlay_dets\": 100}",
                              nullptr, kWhilePlaying));
  install(kLocation,
          g_param_spec_string("location", "Location",
                              "File of detections, JSON lines in frame order, plain or packed by gzip; "
                              "detections come with the buffers too, as regions of interest",
                              nullptr, kBeforePlaying));
  install(kLookback,
          g_param_spec_uint("lookback", "Look-back",
                            "For how many frames without a delivery of its own a producer's last one "
                            "serves",
                            0, G_MAXUINT, kDefaultLookback, kBeforePlaying));
  install(kDebug,
          g_param_spec_boolean("debug", "Debug",
                               "Let the plug-in write its diagnostic lines to the standard error stream",
                               kDefaultDebug, kWhilePlaying));
  install(kDetectionsSeen, g_param_spec_uint64("detections-seen", "Detections seen",
                                               "Detections for the frames since the start, each counted once",
                                               0, G_MAXUINT64, 0, kReadOnly));
  install(kFramesDrawn, g_param_spec_uint64("frames-drawn", "Frames drawn",
                                            "Frames since the start that the plug-in had anything to draw on",
                                            0, G_MAXUINT64, 0, kReadOnly));
}

GstStaticPadTemplate kSink = GST_STATIC_PAD_TEMPLATE("sink", GST_PAD_SINK, GST_PAD_ALWAYS,
                                                     GST_STATIC_CAPS(GST_VIDEO_CAPS_MAKE("NV12")));
GstStaticPadTemplate kSource =
    GST_STATIC_PAD_TEMPLATE("src", GST_PAD_SRC, GST_PAD_ALWAYS, GST_STATIC_CAPS(GST_VIDEO_CAPS_MAKE("NV12")));

}  // namespace

static void gst_segmask_overlay_class_init(GstSegmaskOverlayClass* self) {
  GST_DEBUG_CATEGORY_INIT(segmask_overlay_debug, "segmaskoverlay", 0, "drawing of segmentation masks");
  GObjectClass* const object = G_OBJECT_CLASS(self);
  object->set_property = setProperty;
  object->get_property = getProperty;
  object->finalize = finalize;
  installProperties(object);

  GstElementClass* const element = GST_ELEMENT_CLASS(self);
  gst_element_class_add_static_pad_template(element, &kSink);
  gst_element_class_add_static_pad_template(element, &kSource);
  gst_element_class_set_static_metadata(
      element, "Segmentation mask overlay", "Filter/Effect/Video",
      "Draws the segmentation masks of detections into the frames, each in the colour of its class",
      "SegMaskOverlay developers");

  GstBaseTransformClass* const transform = GST_BASE_TRANSFORM_CLASS(self);
  transform->start = start;
  transform->stop = stop;
  transform->sink_event = sinkEvent;
  GstVideoFilterClass* const filter = GST_VIDEO_FILTER_CLASS(self);
  filter->set_info = setInfo;
  filter->transform_frame_ip = transformFrame;
}

static void gst_segmask_overlay_init(GstSegmaskOverlay* self) {
  self->state = new State;
  gst_base_transform_set_in_place(GST_BASE_TRANSFORM(self), TRUE);
  gst_base_transform_set_qos_enabled(GST_BASE_TRANSFORM(self), TRUE);
}
