# Chooses what answers the CUDA runtime calls. Everything that calls them links seg_mask_cudart.

add_library(seg_mask_cudart INTERFACE)

# Sets SEG_MASK_NVCC: the one that was asked for, in CMake's two ways, else the first one found.
function(seg_mask_find_nvcc)
  set(_names nvcc)
  if(CMAKE_CUDA_COMPILER)
    set(_names "${CMAKE_CUDA_COMPILER}")
  elseif(DEFINED ENV{CUDACXX})
    separate_arguments(_names UNIX_COMMAND "$ENV{CUDACXX}")
    list(GET _names 0 _names)
  endif()
  unset(SEG_MASK_NVCC CACHE)
  find_program(SEG_MASK_NVCC NAMES ${_names} HINTS ENV CUDA_HOME PATHS /usr/local/cuda PATH_SUFFIXES bin)
  mark_as_advanced(SEG_MASK_NVCC)
  if(NOT SEG_MASK_NVCC)
    message(FATAL_ERROR "SEG_MASK_DEVICE=cuda needs nvcc, and there is no ${_names} (looked in PATH, CUDA_HOME and "
      "/usr/local/cuda). Name it with -DCMAKE_CUDA_COMPILER=PATH, or build with -DSEG_MASK_DEVICE=cpu.")
  endif()
endfunction()

if(SEG_MASK_DEVICE STREQUAL "cuda")
  # Before the language is enabled, or its own default would be cached: the target board's GPU, machine code only.
  if(NOT DEFINED CMAKE_CUDA_ARCHITECTURES)
    set(CMAKE_CUDA_ARCHITECTURES 87-real CACHE STRING "GPU architectures to compile for")
  endif()
  seg_mask_find_nvcc()
  seg_mask_nvcc_version(SEG_MASK_NVCC_VERSION "${SEG_MASK_NVCC}")
  seg_mask_require_version(CUDA "${SEG_MASK_NVCC_VERSION}" "${SEG_MASK_NVCC}"
    "Name another nvcc with -DCMAKE_CUDA_COMPILER=PATH.")
  if(NOT CMAKE_CUDA_COMPILER AND NOT DEFINED ENV{CUDACXX})
    set(CMAKE_CUDA_COMPILER "${SEG_MASK_NVCC}")
  endif()
  enable_language(CUDA)
  set(CMAKE_CUDA_STANDARD 17)
  set(CMAKE_CUDA_STANDARD_REQUIRED ON)
  set(CMAKE_CUDA_RUNTIME_LIBRARY Shared)
  find_package(CUDAToolkit REQUIRED)
  target_link_libraries(seg_mask_cudart INTERFACE CUDA::cudart)
else()
  target_link_libraries(seg_mask_cudart INTERFACE cudart_cpu)
endif()
