# What `cmake --install` puts where: what a host needs to load the plug-in, the tool with what it needs, and the value
# library for other projects, as the package SegMaskOverlay with the component core. The platform's picture library and
# the CUDA toolkit are never among it.

include(CMakePackageConfigHelpers)

install(TARGETS seg_mask_overlay LIBRARY DESTINATION lib)
if(SEG_MASK_BUILD_TOOLS)
  install(TARGETS segmask RUNTIME DESTINATION bin)
  install(TARGETS zelvo_tools LIBRARY DESTINATION lib)
  if(SEG_MASK_DEVICE STREQUAL "cpu")
    install(TARGETS cudart_cpu LIBRARY DESTINATION lib)
  endif()
endif()

set(_package lib/cmake/SegMaskOverlay)
set_target_properties(sw_core PROPERTIES EXPORT_NAME core)
install(TARGETS sw_core EXPORT SegMaskOverlay-core LIBRARY DESTINATION lib)
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
