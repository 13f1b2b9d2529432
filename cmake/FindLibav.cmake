# Finds the libav* libraries by their headers and files, so that pkg-config is not needed.
#
#   find_package(Libav REQUIRED COMPONENTS avformat avcodec avutil swscale)
#
# defines one imported target per component, Libav::avformat and so on. Each links the components that it depends on.

set(_libav_header_avformat libavformat/avformat.h)
set(_libav_header_avcodec libavcodec/avcodec.h)
set(_libav_header_avutil libavutil/avutil.h)
set(_libav_header_swscale libswscale/swscale.h)
set(_libav_needs_avformat avcodec avutil)
set(_libav_needs_avcodec avutil)
set(_libav_needs_avutil)
set(_libav_needs_swscale avutil)

set(_libav_required)
foreach(_component IN LISTS Libav_FIND_COMPONENTS)
  if(NOT DEFINED _libav_header_${_component})
    message(FATAL_ERROR "FindLibav knows no component '${_component}'")
  endif()
  find_path(Libav_${_component}_INCLUDE_DIR NAMES ${_libav_header_${_component}}
    PATH_SUFFIXES ${CMAKE_LIBRARY_ARCHITECTURE} ffmpeg)
  find_library(Libav_${_component}_LIBRARY NAMES ${_component})
  mark_as_advanced(Libav_${_component}_INCLUDE_DIR Libav_${_component}_LIBRARY)
  list(APPEND _libav_required Libav_${_component}_LIBRARY Libav_${_component}_INCLUDE_DIR)
  if(Libav_${_component}_LIBRARY AND Libav_${_component}_INCLUDE_DIR)
    set(Libav_${_component}_FOUND TRUE)
  endif()
endforeach()

# The reported version is that of avformat; the other components are released together with it. One header or two define
# it, depending on the release.
if(Libav_avformat_INCLUDE_DIR)
  set(Libav_VERSION)
  foreach(_part IN ITEMS MAJOR MINOR MICRO)
    foreach(_file IN ITEMS version_major.h version.h)
      set(_header "${Libav_avformat_INCLUDE_DIR}/libavformat/${_file}")
      if(EXISTS "${_header}")
        file(STRINGS "${_header}" _line REGEX "#define LIBAVFORMAT_VERSION_${_part} +[0-9]+")
        if(_line MATCHES "${_part} +([0-9]+)")
          list(APPEND Libav_VERSION ${CMAKE_MATCH_1})
          break()
        endif()
      endif()
    endforeach()
  endforeach()
  list(JOIN Libav_VERSION "." Libav_VERSION)
endif()

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(Libav
  REQUIRED_VARS ${_libav_required} VERSION_VAR Libav_VERSION HANDLE_COMPONENTS
  REASON_FAILURE_MESSAGE "(Debian: libavformat-dev libavcodec-dev libavutil-dev libswscale-dev)")

if(Libav_FOUND)
  foreach(_component IN LISTS Libav_FIND_COMPONENTS)
    if(NOT TARGET Libav::${_component})
      add_library(Libav::${_component} UNKNOWN IMPORTED)
      set_target_properties(Libav::${_component} PROPERTIES
        IMPORTED_LOCATION "${Libav_${_component}_LIBRARY}"
        INTERFACE_INCLUDE_DIRECTORIES "${Libav_${_component}_INCLUDE_DIR}")
    endif()
  endforeach()
  foreach(_component IN LISTS Libav_FIND_COMPONENTS)
    foreach(_needed IN LISTS _libav_needs_${_component})
      if(TARGET Libav::${_needed})
        set_property(TARGET Libav::${_component} APPEND PROPERTY INTERFACE_LINK_LIBRARIES Libav::${_needed})
      endif()
    endforeach()
  endforeach()
endif()
