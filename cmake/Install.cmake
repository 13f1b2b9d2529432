# What `cmake --install` installs: the plug-in's libraries, the tool with what it needs, and the package SegMaskOverlay, by
# which other projects use the rooms as components (docs/install.md). The platform's picture library and the CUDA toolkit are
# never installed. Included before the examples, which name the rooms as the package does.

include(CMakePackageConfigHelpers)

# seg_mask_run_path(result folder)
#
# The run path of a file that is installed into `folder`: where it finds our libraries, but for those that the loader finds.
function(seg_mask_run_path result folder)
  if(NOT SEG_MASK_PACKAGES)
    set(${result} "${CMAKE_INSTALL_RPATH}" PARENT_SCOPE)
    return()
  endif()
  file(RELATIVE_PATH _path "/${folder}" "/${SEG_MASK_PLUGINDIR}")
  string(REGEX REPLACE "/$" "" _path "$ORIGIN/${_path}")
  set(${result} "${_path}" PARENT_SCOPE)
endfunction()

# seg_mask_install(target [install arguments...])
#
# Installs a program into bin/ and a library into its folder of libraries. CMake pads the run path of a file that is linked
# with another one than it is installed with by empty entries, which the loader reads as the working directory. So these
# files are linked with the installed run path, followed by the folders of libraries that lie elsewhere, which the
# installation removes.
function(seg_mask_install target)
  set(_component overlay)
  set(_folder "${SEG_MASK_PLUGINDIR}")
  get_target_property(_type ${target} TYPE)
  if(_type STREQUAL "EXECUTABLE")
    set(_component tool)
    set(_folder bin)
  elseif(target STREQUAL "sw_core")
    set(_component core)
    set(_folder "${SEG_MASK_LIBDIR}")
  endif()
  install(TARGETS ${target} ${ARGN}
    RUNTIME DESTINATION bin COMPONENT ${_component}
    LIBRARY DESTINATION "${_folder}" COMPONENT ${_component} NAMELINK_COMPONENT dev
    ARCHIVE DESTINATION "${SEG_MASK_LIBDIR}" COMPONENT dev)
  if(_type MATCHES "STATIC|INTERFACE")
    return()
  endif()
  seg_mask_run_path(_run_path "${_folder}")
  if(SEG_MASK_PACKAGES AND target STREQUAL "sw_core")
    set(_run_path "")
  endif()
  set_target_properties(${target} PROPERTIES
    BUILD_WITH_INSTALL_RPATH ON INSTALL_RPATH "${_run_path}" INSTALL_RPATH_USE_LINK_PATH ON)
  set(_file "\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${_folder}/$<TARGET_FILE_NAME:${target}>")
  install(CODE "file(RPATH_SET FILE \"${_file}\" NEW_RPATH [[${_run_path}]])" COMPONENT ${_component})
endfunction()

set(_package "${SEG_MASK_LIBDIR}/cmake/SegMaskOverlay")

# seg_mask_install_component(component headers target...)
#
# Installs the targets, as SegMaskOverlay::<name> without the prefix of the target's name, with their public headers, below
# `headers`. In this build the same names stand for the targets.
macro(seg_mask_install_component component headers)
  foreach(_target IN ITEMS ${ARGN})
    string(REGEX REPLACE "^(sw|seg_mask|segmask)_" "" _name ${_target})
    set_target_properties(${_target} PROPERTIES EXPORT_NAME ${_name})
    target_compile_features(${_target} INTERFACE cxx_std_17)
    add_library(SegMaskOverlay::${_name} ALIAS ${_target})
    seg_mask_install(${_target} EXPORT SegMaskOverlay-${component} INCLUDES DESTINATION ${headers})
    get_target_property(_folder ${_target} SOURCE_DIR)
    if(EXISTS "${_folder}/include")
      install(DIRECTORY "${_folder}/include/" DESTINATION ${headers} COMPONENT dev FILES_MATCHING PATTERN "*.h")
    endif()
  endforeach()
  install(EXPORT SegMaskOverlay-${component} NAMESPACE SegMaskOverlay:: DESTINATION ${_package} COMPONENT dev)
endmacro()

seg_mask_install(seg_mask_overlay)
seg_mask_install(seg_mask_overlay_fused)
if(SEG_MASK_BUILD_TOOLS)
  seg_mask_install(segmask)
endif()

seg_mask_install_component(core "${SEG_MASK_INCLUDEDIR}" sw_core)
if(SEG_MASK_DEVICE STREQUAL "cpu")
  # In a folder of its own: its cuda_runtime.h must not be found by whoever looks for the toolkit's in include/.
  set_target_properties(cudart_cpu PROPERTIES EXPORT_NO_SYSTEM ON)
  seg_mask_install_component(cudart_cpu "${SEG_MASK_INCLUDEDIR}/cudart_cpu" cudart_cpu)
endif()
seg_mask_install_component(cudart "${SEG_MASK_INCLUDEDIR}" seg_mask_cudart)
if(NOT ZELVO_TOOLS_ROOT)
  seg_mask_install_component(zelvo_tools "${SEG_MASK_INCLUDEDIR}" zelvo_tools)
endif()
seg_mask_install_component(render_base "${SEG_MASK_INCLUDEDIR}" render_geometry render_base)
seg_mask_install_component(mask "${SEG_MASK_INCLUDEDIR}" seg_mask_mask)
seg_mask_install_component(detection "${SEG_MASK_INCLUDEDIR}" seg_mask_detection)
if(SEG_MASK_BUILD_TOOLS)
  seg_mask_install_component(io "${SEG_MASK_INCLUDEDIR}" segmask_io)
  seg_mask_install_component(host "${SEG_MASK_INCLUDEDIR}" segmask_host)
endif()

set(_platform_pictures OFF)
if(ZELVO_TOOLS_ROOT)
  set(_platform_pictures ON)
endif()
configure_package_config_file("${PROJECT_SOURCE_DIR}/cmake/SegMaskOverlayConfig.cmake.in"
  "${PROJECT_BINARY_DIR}/package/SegMaskOverlayConfig.cmake"
  INSTALL_DESTINATION ${_package} NO_SET_AND_CHECK_MACRO NO_CHECK_REQUIRED_COMPONENTS_MACRO)
write_basic_package_version_file("${PROJECT_BINARY_DIR}/package/SegMaskOverlayConfigVersion.cmake"
  COMPATIBILITY SameMinorVersion)
install(FILES
  "${PROJECT_BINARY_DIR}/package/SegMaskOverlayConfig.cmake"
  "${PROJECT_BINARY_DIR}/package/SegMaskOverlayConfigVersion.cmake"
  "${PROJECT_SOURCE_DIR}/cmake/SegMaskOverlayAddPlugin.cmake"
  "${PROJECT_SOURCE_DIR}/cmake/SegMaskOverlayPlatform.cmake"
  "${PROJECT_SOURCE_DIR}/cmake/plugin_exports.map"
  DESTINATION ${_package} COMPONENT dev)
install(FILES "${PROJECT_SOURCE_DIR}/cmake/FindOpenCV.cmake" "${PROJECT_SOURCE_DIR}/cmake/Findclass_loader.cmake"
  DESTINATION ${_package}/modules COMPONENT dev)

file(RELATIVE_PATH _to_prefix "/${SEG_MASK_LIBDIR}/pkgconfig" "/")
string(REGEX REPLACE "/$" "" _to_prefix "${_to_prefix}")
configure_file("${PROJECT_SOURCE_DIR}/cmake/sw_core.pc.in" "${PROJECT_BINARY_DIR}/package/sw_core.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/package/sw_core.pc" DESTINATION "${SEG_MASK_LIBDIR}/pkgconfig" COMPONENT dev)
