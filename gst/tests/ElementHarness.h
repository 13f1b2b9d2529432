#pragma once

#include <gst/check/gstharness.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "io/nv12.h"

struct BufferRelease {
  void operator()(GstBuffer* buffer) const { gst_buffer_unref(buffer); }
};
/// A bus holds messages, which hold the element, which holds the bus.
struct BusRelease {
  void operator()(GstBus* bus) const {
    gst_bus_set_flushing(bus, TRUE);
    gst_object_unref(bus);
  }
};
using BusPtr = std::unique_ptr<GstBus, BusRelease>;
using BufferPtr = std::unique_ptr<GstBuffer, BufferRelease>;

/// What GStreamer is started with, once: our element and the modules named, and nothing of the system's.
void startGStreamer();

/// Whether this run of the tests draws with the fused library.
bool drawsFast();

/// The text of the next error or warning on a bus; empty where there is none.
std::string nextMessage(GstBus* bus, GstMessageType type);

/// Tightly packed frames, one after the other, drawn by `segmask render`.
std::string renderedByTool(const std::string& frames, const segmask::Nv12Layout& layout,
                           const std::string& detections, const std::string& options = "");

/// How rows lie in a buffer: bytes before each plane, and from row to row beyond what a row has.
struct Padding {
  std::size_t before = 0;
  std::size_t behindRow = 0;
};

/// The element between two pads, with properties, drawing with the library of this run.
class ElementHarness {
 public:
  /// Its properties as in gst-launch's text.
  explicit ElementHarness(const std::string& properties = "");

  /// Frames of that layout follow; `rate` as in caps.
  void setFormat(const segmask::Nv12Layout& layout, const std::string& rate = "30/1");

  /// A buffer with the bytes of a tightly packed frame, and the metadata that says how they lie.
  BufferPtr buffer(const std::string& packed, Padding padding = {}) const;

  /// With the time stamp of that frame at 30 a second.
  BufferPtr frame(uint64_t number, const std::string& packed) const;

  GstFlowReturn push(BufferPtr buffer) { return gst_harness_push(get(), buffer.release()); }

  /// What came out, which is awaited; null when nothing did.
  BufferPtr pull() { return BufferPtr(gst_harness_try_pull(get())); }

  /// Pushes the frames of `packed` with these numbers and gives what comes out of each, packed again.
  std::string drawn(const std::string& packed, const std::vector<uint64_t>& numbers);

  /// The bytes of a buffer that came out, packed.
  std::string packed(GstBuffer* buffer) const;

  template <class T>
  T get(const char* property) const {
    T value{};
    g_object_get(element(), property, &value, nullptr);
    return value;
  }
  void set(const char* text);  ///< "property=value"

  /// The text of the next error or warning on the element's bus; empty where there is none.
  std::string message(GstMessageType type) const { return nextMessage(bus_.get(), type); }

  /// Asks the element to change its state and gives whether it has.
  bool change(GstState state) { return gst_element_set_state(element(), state) != GST_STATE_CHANGE_FAILURE; }

  GstHarness* get() const { return harness_.get(); }
  GstElement* element() const { return element_; }

 private:
  std::unique_ptr<GstHarness, void (*)(GstHarness*)> harness_{nullptr, gst_harness_teardown};
  GstElement* element_;
  BusPtr bus_;
  segmask::Nv12Layout layout_{0, 0};
};

/// Odd, so that chroma rounds up.
inline constexpr segmask::Nv12Layout kOdd{21, 13};

inline uint64_t timeOf(uint64_t frame) {
  return gst_util_uint64_scale(frame, GST_SECOND, 30);
}
