# seg_mask_find_platform_pictures(cudart reason)
#
# Defines SegMaskOverlay::zelvo_tools, the platform's picture library in the folder ZELVO_TOOLS_ROOT; `cudart` is the target
# of the CUDA runtime that it uses. Sets `reason` to nothing, or to why it cannot be used. The installed package has this file
# too.
function(seg_mask_find_platform_pictures cudart reason)
  if("${ZELVO_TOOLS_ROOT}" STREQUAL "")
    set(${reason} "needs ZELVO_TOOLS_ROOT, the folder of the platform's picture library" PARENT_SCOPE)
    return()
  endif()
  foreach(_file IN ITEMS include/zelvo/ZelvoPicture.h lib/libZelvoTools.so)
    if(NOT EXISTS "${ZELVO_TOOLS_ROOT}/${_file}")
      set(${reason} "ZELVO_TOOLS_ROOT: there is no ${_file} in ${ZELVO_TOOLS_ROOT}" PARENT_SCOPE)
      return()
    endif()
  endforeach()
  set(${reason} "" PARENT_SCOPE)
  if(NOT TARGET SegMaskOverlay::zelvo_tools)
    add_library(SegMaskOverlay::zelvo_tools SHARED IMPORTED GLOBAL)
    set_target_properties(SegMaskOverlay::zelvo_tools PROPERTIES
      IMPORTED_LOCATION "${ZELVO_TOOLS_ROOT}/lib/libZelvoTools.so"
      INTERFACE_INCLUDE_DIRECTORIES "${ZELVO_TOOLS_ROOT}/include"
      INTERFACE_LINK_LIBRARIES ${cudart})
  endif()
endfunction()
