# Chooses the implementation of the CUDA runtime calls. Everything that makes such calls links seg_mask_cudart.

add_library(seg_mask_cudart INTERFACE)

if(SEG_MASK_DEVICE STREQUAL "cuda")
  # The target board's GPU, machine code only. Set before the language is enabled, which would cache CMake's own
  # default.
  if(NOT DEFINED CMAKE_CUDA_ARCHITECTURES)
    set(CMAKE_CUDA_ARCHITECTURES 87-real CACHE STRING "GPU architectures to compile for")
  endif()
  seg_mask_find(CUDA)
  if(NOT CMAKE_CUDA_COMPILER AND "$ENV{CUDACXX}" STREQUAL "")
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
