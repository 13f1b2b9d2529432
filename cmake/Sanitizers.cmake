# -DSEG_MASK_SANITIZE=address,undefined and the like, for the whole build.

if(SEG_MASK_SANITIZE)
  add_compile_options("$<$<COMPILE_LANGUAGE:CXX>:-fsanitize=${SEG_MASK_SANITIZE};-fno-omit-frame-pointer;-fno-sanitize-recover=all>")
  # With instrumentation in between, GCC no longer sees that the standard library's members are initialised.
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    add_compile_options("$<$<COMPILE_LANGUAGE:CXX>:-Wno-maybe-uninitialized>")
  endif()
  if(SEG_MASK_SANITIZE MATCHES "integer")
    add_compile_options("-fsanitize-ignorelist=${PROJECT_SOURCE_DIR}/cmake/integer.ignorelist")
  endif()
  add_link_options("-fsanitize=${SEG_MASK_SANITIZE}")
  # A sanitizer reports at exit, when an unloaded library's frames have lost their names and its live data would
  # look leaked; so plug-ins stay mapped in these builds.
  set(SEG_MASK_PLUGIN_LINK_OPTIONS -Wl,-z,nodelete)
else()
  set(SEG_MASK_PLUGIN_LINK_OPTIONS -Wl,--no-undefined)
endif()
