# What `cmake --install` puts where: what a host needs to load the plug-in, and the tool with what it needs. The platform's
# picture library and the CUDA toolkit are never among it.

install(TARGETS sw_core seg_mask_overlay LIBRARY DESTINATION lib)
if(SEG_MASK_BUILD_TOOLS)
  install(TARGETS segmask RUNTIME DESTINATION bin)
  install(TARGETS zelvo_tools LIBRARY DESTINATION lib)
  if(SEG_MASK_DEVICE STREQUAL "cpu")
    install(TARGETS cudart_cpu LIBRARY DESTINATION lib)
  endif()
endif()
