# Debian's packages, by cpack (scripts/package). Each is a component of the installation, see cmake/Install.cmake.

if(NOT SEG_MASK_PACKAGES)
  return()
endif()
if(SEG_MASK_BUILD_TESTS OR NOT SEG_MASK_BUILD_TOOLS OR NOT SEG_MASK_DEVICE STREQUAL "cpu" OR NOT CMAKE_LIBRARY_ARCHITECTURE)
  message(FATAL_ERROR "SEG_MASK_PACKAGES is for the CPU device on Debian, with the tools and without the tests")
endif()

set(_files "${PROJECT_SOURCE_DIR}/cmake/packages")
set(_made "${PROJECT_BINARY_DIR}/packages")
set(SEG_MASK_MAINTAINER "SegMaskOverlay maintainers <maintainers@example.org>" CACHE STRING "Maintainer that the packages name")

# Debian's changelog. What changed is in CHANGELOG.md.
find_program(SEG_MASK_GZIP gzip REQUIRED)
execute_process(COMMAND date --utc --rfc-email "--date=${SEG_MASK_VERSION_DATE}"
  OUTPUT_VARIABLE _date OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
file(WRITE "${_made}/changelog" "seg-mask-overlay (${PROJECT_VERSION}) unstable; urgency=medium\n\n"
  "  * Version ${PROJECT_VERSION}; the project's CHANGELOG.md says what is new.\n\n -- ${SEG_MASK_MAINTAINER}  ${_date}\n")
execute_process(COMMAND "${SEG_MASK_GZIP}" -9 -n -f "${_made}/changelog" COMMAND_ERROR_IS_FATAL ANY)
install(CODE "execute_process(COMMAND \"${SEG_MASK_GZIP}\" -9 -n -f
  \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/share/man/man1/segmask.1\"
  \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/share/man/man5/segmask-detections.5\" COMMAND_ERROR_IS_FATAL ANY)" COMPONENT tool)

# seg_mask_package(component name section summary description [dependency...])
macro(seg_mask_package component name section summary description)
  string(TOUPPER ${component} _upper)
  list(APPEND CPACK_COMPONENTS_ALL ${component})
  set(CPACK_DEBIAN_${_upper}_PACKAGE_NAME ${name})
  set(CPACK_DEBIAN_${_upper}_PACKAGE_SECTION ${section})
  set(CPACK_DEBIAN_${_upper}_DESCRIPTION "${summary}\n${description}")
  set(_depends "${ARGN}")
  list(JOIN _depends ", " CPACK_DEBIAN_${_upper}_PACKAGE_DEPENDS)
  install(FILES "${_files}/copyright" "${_made}/changelog.gz" DESTINATION share/doc/${name} COMPONENT ${component})
  if(EXISTS "${_files}/${name}.overrides")
    install(FILES "${_files}/${name}.overrides" DESTINATION share/lintian/overrides RENAME ${name} COMPONENT ${component})
  endif()
endmacro()

set(_core "libsw-core0 (= ${PROJECT_VERSION})")
set(_overlay "seg-mask-overlay (= ${PROJECT_VERSION})")
seg_mask_package(core libsw-core0 libs "strings, JSON and values of any type for render plug-ins"
  "The value library of the segmentation-mask overlay: strings and their\nencryption, JSON, plain and keyed, and type-erased values with\nconversions. The plug-ins and their hosts share it.")
seg_mask_package(overlay seg-mask-overlay video "render plug-in that draws segmentation masks"
  "Draws the segmentation masks of detections into NV12 video frames, each in\nthe colour of its class. Hosts load one of its two files, which draw the\nsame bytes: with a pass for each detection, or one for the whole frame.\n\nThis build draws on the CPU."
  "${_core}")
seg_mask_package(tool segmask video "draws segmentation masks into videos and pictures"
  "Reads a video or pictures and detections as JSON lines, lets a render\nplug-in draw their masks, and writes the result. It also imports masks in\nCOCO's formats and from PNG files, and says of each detection why it is not\ndrawn."
  "${_core}" "${_overlay}")
seg_mask_package(dev seg-mask-overlay-dev libdevel "segmentation-mask overlay (development files)"
  "Headers, static libraries and CMake files to write render plug-ins, hosts\nthat load them, and producers of detections."
  "${_core}" "${_overlay}" libclass-loader-dev libconsole-bridge-dev libopencv-core-dev libopencv-imgproc-dev zlib1g-dev)
if(TARGET gstsegmask)
  seg_mask_package(gstreamer gstreamer1.0-segmask video "segmentation masks in GStreamer pipelines"
    "The element segmaskoverlay draws the segmentation masks of detections, from\na file or with the buffers, into video/x-raw frames in NV12."
    "${_core}" "${_overlay}")
  seg_mask_run_path(_run_path "${SEG_MASK_GSTREAMER_FOLDER}")
  set(_file "\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${SEG_MASK_GSTREAMER_FOLDER}/$<TARGET_FILE_NAME:gstsegmask>")
  install(CODE "file(RPATH_SET FILE \"${_file}\" NEW_RPATH [[${_run_path}]])" COMPONENT gstreamer)
endif()

# The library's file has to be known to the loader. CPack would call ldconfig in scripts of its own, unless it is given such:
# these do not exist, so there are none.
file(WRITE "${_made}/shlibs"
  "libsw_core ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR} libsw-core0 (= ${PROJECT_VERSION})\n")
set(CPACK_DEBIAN_CORE_PACKAGE_CONTROL_EXTRA "${_files}/triggers" "${_made}/shlibs" none/postinst none/postrm)
foreach(_component IN ITEMS OVERLAY GSTREAMER)
  set(CPACK_DEBIAN_${_component}_PACKAGE_CONTROL_EXTRA none/postinst none/postrm)
endforeach()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME seg-mask-overlay)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")  # else it stands before each package's own
set(CPACK_PACKAGE_CONTACT "${SEG_MASK_MAINTAINER}")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_SOURCE seg-mask-overlay)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# Where dpkg-shlibdeps finds the libraries of the other packages; those depend on each other by the lists above.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${CMAKE_LIBRARY_OUTPUT_DIRECTORY}")
if(CMAKE_SYSTEM_PROCESSOR STREQUAL "aarch64")
  set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE arm64)
endif()
include(CPack)
