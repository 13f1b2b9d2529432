# Compiler flags for all C++ files of the project.

add_compile_options(
  "$<$<COMPILE_LANGUAGE:CXX>:-Wall;-Wextra;-Wpedantic;-Wconversion;-Wshadow>"
  "$<$<AND:$<COMPILE_LANGUAGE:CXX>,$<BOOL:${SEG_MASK_WARNINGS_AS_ERRORS}>>:-Werror>"
  # Single-precision results (colours, blending) must have the same bits on every machine, so the compiler must not turn
  # a*b+c into one fused operation where the source does not say so.
  "$<$<COMPILE_LANGUAGE:CXX>:-ffp-contract=off>")

# A symbol of binding "unique" (GCC's choice for inline variables and template statics) keeps a library mapped for
# ever: dlclose would do nothing. clang has no such flag because it never makes such symbols.
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  add_compile_options("$<$<COMPILE_LANGUAGE:CXX>:-fno-gnu-unique>")
endif()

add_link_options(-Wl,--no-undefined-version -Wl,--as-needed)
