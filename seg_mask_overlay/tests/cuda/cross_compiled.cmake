# The CUDA sources for the machine that is built for, though there is no CUDA runtime of that machine to link them with: the
# toolkit of this machine has the same headers, and its nvcc takes any host compiler.

set(_objects)
foreach(_source IN ITEMS seg_mask_overlay_cuda fused_draw_cuda)
  set(source "${PROJECT_SOURCE_DIR}/seg_mask_overlay/src/blend/${_source}.cu")
  set(object "${CMAKE_CURRENT_BINARY_DIR}/cross_compiled_${_source}.o")
  add_custom_command(OUTPUT "${object}"
    COMMAND "${SEG_MASK_NVCC}" -ccbin "${CMAKE_CXX_COMPILER}" --target-directory "${CMAKE_HOST_SYSTEM_PROCESSOR}-linux"
      -std=c++17 -O2 -Xcompiler=-fPIC -gencode=arch=compute_87,code=sm_87
      "-I${PROJECT_SOURCE_DIR}/seg_mask_overlay/include"
      "-I${PROJECT_SOURCE_DIR}/seg_mask_overlay/src"
      "-I${PROJECT_SOURCE_DIR}/render_base/geometry/include"
      -MD -MF "${object}.d" -c "${source}" -o "${object}"
    DEPENDS "${source}"
    DEPFILE "${object}.d"
    VERBATIM)
  list(APPEND _objects "${object}")
endforeach()
add_custom_target(cuda_cross_compiled DEPENDS ${_objects})

seg_mask_add_test(NAME cuda_cross_compiled_test SOURCES cuda/test_cuda_binary.cpp cuda/device_image.cpp)
add_dependencies(cuda_cross_compiled_test cuda_cross_compiled)
target_include_directories(cuda_cross_compiled_test PRIVATE "${PROJECT_SOURCE_DIR}/seg_mask_overlay")
list(GET _objects 0 _object)
list(GET _objects 1 _fused_object)
target_compile_definitions(cuda_cross_compiled_test PRIVATE
  SEG_MASK_CUDA_BINARY="${_object}"
  SEG_MASK_FUSED_CUDA_BINARY="${_fused_object}"
  SEG_MASK_CUDA_ARCHITECTURES="87-real")
