# What `cmake --install` installs: the libraries that a host needs to load the plug-in, the tool with its libraries, and
# the value library for other projects, as the package SegMaskOverlay with the component core. The platform's picture
# library and the CUDA toolkit are never installed.

include(CMakePackageConfigHelpers)

# seg_mask_install(target [EXPORT export])
#
# Installs a program into bin/ and a library into lib/. CMake pads the run path of a file that is linked with another
# one than it is installed with by empty entries, which the loader reads as the working directory. So these files are
# linked with the installed run path, followed by the folders of libraries that lie elsewhere, which the installation
# removes.
function(seg_mask_install target)
  install(TARGETS ${target} ${ARGN} RUNTIME DESTINATION bin LIBRARY DESTINATION lib)
  set_target_properties(${target} PROPERTIES BUILD_WITH_INSTALL_RPATH ON INSTALL_RPATH_USE_LINK_PATH ON)
  set(_folder "$<IF:$<STREQUAL:$<TARGET_PROPERTY:${target},TYPE>,EXECUTABLE>,bin,lib>")
  set(_file "\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${_folder}/$<TARGET_FILE_NAME:${target}>")
  install(CODE "file(RPATH_SET FILE \"${_file}\" NEW_RPATH [[${CMAKE_INSTALL_RPATH}]])")
endfunction()

seg_mask_install(seg_mask_overlay)
seg_mask_install(seg_mask_overlay_fused)
if(SEG_MASK_BUILD_TOOLS)
  seg_mask_install(segmask)
  seg_mask_install(zelvo_tools)
  if(SEG_MASK_DEVICE STREQUAL "cpu")
    seg_mask_install(cudart_cpu)
  endif()
endif()

set(_package lib/cmake/SegMaskOverlay)
set_target_properties(sw_core PROPERTIES EXPORT_NAME core)
seg_mask_install(sw_core EXPORT SegMaskOverlay-core)
install(DIRECTORY "${PROJECT_SOURCE_DIR}/core/include/" DESTINATION include FILES_MATCHING PATTERN "*.h")
install(EXPORT SegMaskOverlay-core NAMESPACE SegMaskOverlay:: DESTINATION ${_package})

configure_package_config_file("${PROJECT_SOURCE_DIR}/cmake/SegMaskOverlayConfig.cmake.in"
  "${PROJECT_BINARY_DIR}/package/SegMaskOverlayConfig.cmake"
  INSTALL_DESTINATION ${_package} NO_SET_AND_CHECK_MACRO NO_CHECK_REQUIRED_COMPONENTS_MACRO)
write_basic_package_version_file("${PROJECT_BINARY_DIR}/package/SegMaskOverlayConfigVersion.cmake"
  COMPATIBILITY SameMinorVersion)
install(FILES
  "${PROJECT_BINARY_DIR}/package/SegMaskOverlayConfig.cmake"
  "${PROJECT_BINARY_DIR}/package/SegMaskOverlayConfigVersion.cmake"
  DESTINATION ${_package})
