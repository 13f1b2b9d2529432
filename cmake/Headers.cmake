# seg_mask_check_headers(target [LINK_TWICE])
#
# Checks the public headers, those in the calling folder's include/: each must compile on its own, included twice in one
# file, for a target that links `target`. The check is the target <target>_headers, which the default build compiles.
# LINK_TWICE adds the test <target>_headers_link_twice, a program of two files that both include all headers.

if(NOT SEG_MASK_BUILD_TESTS)
  function(seg_mask_check_headers target)
  endfunction()
  return()
endif()

function(seg_mask_check_headers target)
  cmake_parse_arguments(PARSE_ARGV 1 ARG "LINK_TWICE" "" "")
  set(_folder "${CMAKE_CURRENT_BINARY_DIR}/headers")
  file(GLOB_RECURSE _headers CONFIGURE_DEPENDS RELATIVE "${CMAKE_CURRENT_SOURCE_DIR}/include"
    "${CMAKE_CURRENT_SOURCE_DIR}/include/*.h")

  set(_sources)
  set(_all)
  foreach(_header IN LISTS _headers)
    string(MAKE_C_IDENTIFIER "${_header}" _name)
    file(CONFIGURE OUTPUT "${_folder}/${_name}.cpp"
      CONTENT "#include \"@_header@\"\n#include \"@_header@\"\n" @ONLY)
    list(APPEND _sources "${_folder}/${_name}.cpp")
    string(APPEND _all "#include \"${_header}\"\n")
  endforeach()
  add_library(${target}_headers OBJECT ${_sources})
  target_link_libraries(${target}_headers PRIVATE ${target})

  if(ARG_LINK_TWICE)
    file(CONFIGURE OUTPUT "${_folder}/all.cpp" CONTENT "@_all@" @ONLY)
    file(CONFIGURE OUTPUT "${_folder}/all_with_main.cpp" CONTENT "@_all@\nint main() {}\n" @ONLY)
    add_executable(${target}_headers_link_twice "${_folder}/all.cpp" "${_folder}/all_with_main.cpp")
    target_link_libraries(${target}_headers_link_twice PRIVATE ${target})
    add_test(NAME ${target}_headers_link_twice COMMAND ${target}_headers_link_twice)
  endif()
endfunction()
