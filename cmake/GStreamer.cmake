# Finds GStreamer, 1.22 or newer, for the element `segmaskoverlay`. Where its development packages are missing (Debian:
# libgstreamer1.0-dev, libgstreamer-plugins-base1.0-dev), the element is passed over.

set(SEG_MASK_BUILD_GSTREAMER ${SEG_MASK_BUILD_TOOLS})
if(NOT SEG_MASK_BUILD_GSTREAMER)
  return()
endif()
find_package(PkgConfig QUIET)
if(PkgConfig_FOUND)
  pkg_check_modules(GStreamer QUIET IMPORTED_TARGET gstreamer-1.0>=1.22 gstreamer-video-1.0>=1.22)
  # For the tests and the benchmark.
  pkg_check_modules(GStreamerCheck QUIET IMPORTED_TARGET gstreamer-check-1.0>=1.22 gstreamer-app-1.0>=1.22)
endif()
if(NOT GStreamer_FOUND)
  message(STATUS "no GStreamer 1.22 for ${CMAKE_SYSTEM_PROCESSOR} (libgstreamer1.0-dev, libgstreamer-plugins-base1.0-dev): "
    "the element segmaskoverlay is passed over")
  set(SEG_MASK_BUILD_GSTREAMER OFF)
endif()
