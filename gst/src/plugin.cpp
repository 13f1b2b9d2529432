// The file libgstsegmask.so as GStreamer sees it.

#include "src/element.h"

static gboolean init(GstPlugin* plugin) {
  return GST_ELEMENT_REGISTER(segmaskoverlay, plugin);
}

#define PACKAGE GST_SEGMASK_PACKAGE
GST_PLUGIN_DEFINE(GST_VERSION_MAJOR, GST_VERSION_MINOR, segmask, "Drawing of segmentation masks", init,
                  GST_SEGMASK_VERSION, "unknown", GST_SEGMASK_PACKAGE, "unknown origin")
