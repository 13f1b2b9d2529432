# -DSEG_MASK_SANITIZE=address,undefined and the like, for the whole build.

if(SEG_MASK_SANITIZE)
  add_compile_options("$<$<COMPILE_LANGUAGE:CXX>:-fsanitize=${SEG_MASK_SANITIZE};-fno-omit-frame-pointer;-fno-sanitize-recover=all>")
  # Behind the instrumentation GCC no longer sees that the standard library initialises its members, and warns.
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    add_compile_options("$<$<COMPILE_LANGUAGE:CXX>:-Wno-maybe-uninitialized>")
  endif()
  if(SEG_MASK_SANITIZE MATCHES "integer")
    add_compile_options("-fsanitize-ignorelist=${PROJECT_SOURCE_DIR}/cmake/integer.ignorelist")
  endif()
  add_link_options("-fsanitize=${SEG_MASK_SANITIZE}")
  # Sanitizers report at exit. The stack frames of an unloaded library have no names then, and its live data looks
  # leaked. So plug-ins stay mapped in these builds.
  set(SEG_MASK_PLUGIN_LINK_OPTIONS -Wl,-z,nodelete)
else()
  set(SEG_MASK_PLUGIN_LINK_OPTIONS -Wl,--no-undefined)
endif()
