# Finds the libraries that the build needs, each in a version that cmake/Versions.cmake allows.

include(Versions)

# seg_mask_find(name)
#
# Finds CUDA, OpenCV, class_loader or OpenSSL, or ends the configuration with the reason. Sets SEG_MASK_FOUND_<name> to
# its version or place, as a text for people.
macro(seg_mask_find name)
  cmake_language(CALL "_seg_mask_find_${name}")
endmacro()

macro(_seg_mask_find_OpenCV)
  find_package(OpenCV REQUIRED COMPONENTS core imgproc)
  set(_place "${OpenCV_CONFIG}")
  if(NOT _place)
    set(_place "${OpenCV_INCLUDE_DIR}")
  endif()
  seg_mask_require_version(OpenCV "${OpenCV_VERSION}" "${_place}"
    "Name another one with -DOpenCV_DIR=DIR, the folder of its OpenCVConfig.cmake.")
  set(SEG_MASK_FOUND_OpenCV "${OpenCV_VERSION}, ${_place}")
endmacro()

macro(_seg_mask_find_class_loader)
  find_package(class_loader REQUIRED)
  # The library is a symbolic link to a file whose name has the version.
  file(REAL_PATH "${class_loader_class_loader_LIBRARY}" SEG_MASK_FOUND_class_loader)
endmacro()

macro(_seg_mask_find_OpenSSL)
  find_package(OpenSSL REQUIRED COMPONENTS Crypto)
  seg_mask_require_version(OpenSSL "${OPENSSL_VERSION}" "${OPENSSL_INCLUDE_DIR}"
    "Name another one with -DOPENSSL_ROOT_DIR=DIR.")
  set(SEG_MASK_FOUND_OpenSSL "${OPENSSL_VERSION}, ${OPENSSL_INCLUDE_DIR}")
endmacro()

macro(_seg_mask_find_CUDA)
  _seg_mask_find_nvcc()
  _seg_mask_nvcc_version(_version "${SEG_MASK_NVCC}")
  seg_mask_require_version(CUDA "${_version}" "${SEG_MASK_NVCC}" "Name another nvcc with -DCMAKE_CUDA_COMPILER=PATH.")
  set(SEG_MASK_FOUND_CUDA "${_version}, ${SEG_MASK_NVCC}")
endmacro()

# Sets SEG_MASK_NVCC to the nvcc that CMAKE_CUDA_COMPILER or the environment variable CUDACXX names, else to the first
# one found.
function(_seg_mask_find_nvcc)
  set(_names nvcc)
  if(CMAKE_CUDA_COMPILER)
    set(_names "${CMAKE_CUDA_COMPILER}")
  elseif(NOT "$ENV{CUDACXX}" STREQUAL "")
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

# Sets `result` to the version that the nvcc reports, 12.6.85 for instance, or to nothing when it reports none. This
# runs before CMake tries the compiler: an old nvcc refuses a new host compiler, and CMake would report that instead of
# the version.
function(_seg_mask_nvcc_version result nvcc)
  execute_process(COMMAND "${nvcc}" --version OUTPUT_VARIABLE _text ERROR_QUIET)
  set(${result} "")
  if(_text MATCHES "release [0-9.]+, V([0-9.]+)")
    set(${result} "${CMAKE_MATCH_1}")
  endif()
  set(${result} "${${result}}" PARENT_SCOPE)
endfunction()
