# seg_mask_add_test(NAME name SOURCES file... [LIBRARIES target...] [DEVICE] [OVERLAY])
#
# One GoogleTest program; each of its tests becomes a CTest test named "<name>.<suite>.<test>". DEVICE marks a program
# that uses the compute device: in a CUDA build its tests have the label "gpu", and each exists a second time, as
# "<name>.on_cpu.<suite>.<test>", in which the CPU does the device's work. OVERLAY marks a program that loads the overlay
# plug-in: each test exists once more, as "<name>.fused..." , with the library that draws a frame in one pass. The two
# libraries are never in one process.

if(SEG_MASK_BUILD_TESTS OR SEG_MASK_KERNELS_ONLY)
  enable_testing()
endif()

if(SEG_MASK_SANITIZE MATCHES "thread")
  set(SEG_MASK_TEST_ENVIRONMENT ENVIRONMENT "TSAN_OPTIONS=suppressions=${PROJECT_SOURCE_DIR}/cmake/tsan.supp")
elseif(SEG_MASK_SANITIZE MATCHES "undefined")
  set(SEG_MASK_TEST_ENVIRONMENT ENVIRONMENT "UBSAN_OPTIONS=print_stacktrace=1")
else()
  set(SEG_MASK_TEST_ENVIRONMENT)
endif()

if(NOT SEG_MASK_BUILD_TESTS)
  function(seg_mask_add_test)
  endfunction()
  return()
endif()

find_package(GTest REQUIRED)
include(GoogleTest)

# Programs that a test starts run in the emulator too.
set(SEG_MASK_TEST_OBJECTS)
if(CMAKE_CROSSCOMPILING AND CMAKE_CROSSCOMPILING_EMULATOR)
  add_library(seg_mask_exec_in_emulator OBJECT "${PROJECT_SOURCE_DIR}/test_support/src/exec_in_emulator.cpp")
  target_compile_definitions(seg_mask_exec_in_emulator PRIVATE
    "SEG_MASK_EMULATOR=\"${CMAKE_CROSSCOMPILING_EMULATOR}\"")
  set(SEG_MASK_TEST_OBJECTS seg_mask_exec_in_emulator)
endif()

# Lets CTest have the program's tests, with `variant` in front of their names. The further arguments are properties of the
# tests, in which a list keeps only its first element: at most one variable a property.
function(seg_mask_discover_tests name variant)
  gtest_discover_tests(${name}
    TEST_PREFIX "${name}.${variant}"
    TEST_LIST "${name}.${variant}tests"
    DISCOVERY_TIMEOUT 120
    PROPERTIES TIMEOUT 600 ${ARGN})
endfunction()

function(seg_mask_add_test)
  cmake_parse_arguments(ARG "DEVICE;OVERLAY" "NAME" "SOURCES;LIBRARIES" ${ARGN})
  add_executable(${ARG_NAME} ${ARG_SOURCES})
  target_link_libraries(${ARG_NAME} PRIVATE ${ARG_LIBRARIES} ${SEG_MASK_TEST_OBJECTS} GTest::gtest_main)
  set(_overlays "")
  if(ARG_OVERLAY)
    list(APPEND _overlays fused.)
  endif()
  foreach(_overlay IN LISTS _overlays ITEMS "")
    set(_library)
    if(_overlay)
      set(_library ENVIRONMENT_MODIFICATION "SEG_MASK_PLUGIN=set:$<TARGET_FILE:seg_mask_overlay_fused>")
    endif()
    set(_labels)
    if(ARG_DEVICE AND SEG_MASK_DEVICE STREQUAL "cuda")
      set(_labels LABELS gpu)
      add_dependencies(${ARG_NAME} cuda_kernels_on_cpu)
      seg_mask_discover_tests(${ARG_NAME} on_cpu.${_overlay} ${_library}
        ENVIRONMENT "LD_PRELOAD=$<TARGET_FILE:cudart_cpu>:$<TARGET_FILE:cuda_kernels_on_cpu>")
    endif()
    seg_mask_discover_tests(${ARG_NAME} "${_overlay}" ${_library} ${SEG_MASK_TEST_ENVIRONMENT} ${_labels})
  endforeach()
endfunction()
