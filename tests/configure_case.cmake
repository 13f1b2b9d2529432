# Configures the project in a world that was made up for one case, and looks at what configure says: which versions and
# choices it refuses, with which reason, and which it takes. Run by ctest, which sets the variables.

cmake_minimum_required(VERSION 3.25)
foreach(_variable IN ITEMS CASE SOURCE_DIR WORK_DIR GENERATOR CXX_COMPILER MAKE_PROGRAM)
  if(NOT ${_variable})
    message(FATAL_ERROR "configure_case: ${_variable} is not set")
  endif()
endforeach()
set(world "${WORK_DIR}/${CASE}")
set(build "${world}/build")

# Configures the plug-in alone with these arguments; sets `result`, and `output` as one line.
macro(configure)
  execute_process(
    COMMAND "${CMAKE_COMMAND}" -S "${SOURCE_DIR}" -B "${build}" -G "${GENERATOR}"
      "-DCMAKE_MAKE_PROGRAM=${MAKE_PROGRAM}" "-DCMAKE_CXX_COMPILER=${CXX_COMPILER}"
      -DSEG_MASK_BUILD_TOOLS=OFF -DSEG_MASK_BUILD_TESTS=OFF ${ARGN}
    RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
  string(REGEX REPLACE "[ \n]+" " " output "${output}")
endmacro()

function(expect_text text)
  string(FIND "${output}" "${text}" _at)
  if(_at EQUAL -1)
    message(SEND_ERROR "configure should say '${text}', but said\n${output}")
  endif()
endfunction()

# That is all it says, and nothing is left that could be built.
macro(expect_refusal text)
  expect_text("${text}")
  string(REGEX MATCHALL "CMake (Error|Warning)[^:]" _complaints "${output}")
  if(NOT _complaints STREQUAL "CMake Error ")
    message(SEND_ERROR "configure should complain once:\n${output}")
  endif()
  file(GLOB _files "${build}/build.ninja" "${build}/Makefile")
  if(result EQUAL 0 OR _files)
    message(SEND_ERROR "configure should fail and write no build files: ${result}, '${_files}'")
  endif()
endmacro()

macro(expect_success text)
  expect_text("${text}")
  if(NOT result EQUAL 0)
    message(SEND_ERROR "configure should succeed: ${result}\n${output}")
  endif()
endmacro()

macro(make_opencv_config version)
  file(WRITE "${world}/opencv/OpenCVConfig.cmake" "set(OpenCV_VERSION ${version})
    foreach(_component IN ITEMS core imgproc)
      set(OpenCV_\${_component}_FOUND TRUE)
      if(NOT TARGET opencv_\${_component})
        add_library(opencv_\${_component} INTERFACE IMPORTED)
      endif()
    endforeach()\n")
endmacro()

macro(make_openssl line)
  file(WRITE "${world}/openssl/include/openssl/ssl.h" "")
  file(WRITE "${world}/openssl/include/openssl/opensslv.h" "${line}\n")
  file(WRITE "${world}/openssl/lib/libcrypto.so" "")
endmacro()
set(openssl_arguments "-DOPENSSL_INCLUDE_DIR=${world}/openssl/include"
  "-DOPENSSL_CRYPTO_LIBRARY=${world}/openssl/lib/libcrypto.so")

# An nvcc that can say its version and nothing else.
macro(make_nvcc release version)
  file(WRITE "${world}/nvcc"
    "#!/bin/sh\n[ \"$*\" = --version ] && echo 'Cuda compilation tools, release ${release}, V${version}'\n")
  file(CHMOD "${world}/nvcc" PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE)
endmacro()

macro(case_opencv_4_4_is_refused)
  make_opencv_config(4.4.0)
  configure("-DOpenCV_DIR=${world}/opencv")
  expect_refusal("OpenCV 4.5 or newer is needed; found 4.4.0 in ${world}/opencv/OpenCVConfig.cmake. \
Name another one with -DOpenCV_DIR=DIR, the folder of its OpenCVConfig.cmake.")
endmacro()

macro(case_opencv_4_5_0_is_taken)
  make_opencv_config(4.5.0)
  configure("-DOpenCV_DIR=${world}/opencv")
  expect_success("OpenCV 4.5.0, ${world}/opencv/OpenCVConfig.cmake --")
endmacro()

# Debian's smaller packages have no configuration file.
macro(case_opencv_headers_of_4_4_are_refused)
  set(_include "${world}/include/opencv4")
  file(WRITE "${_include}/opencv2/core.hpp" "")
  file(WRITE "${_include}/opencv2/cvconfig.h" "")
  file(WRITE "${_include}/opencv2/core/version.hpp"
    "#define CV_VERSION_MAJOR 4\n#define CV_VERSION_MINOR 4\n#define CV_VERSION_REVISION 0\n")
  file(WRITE "${world}/libopencv.so" "")
  configure(-DCMAKE_IGNORE_PATH=${OPENCV_CONFIG_DIR}
    "-DOpenCV_INCLUDE_DIR=${_include}" "-DOpenCV_ARCH_INCLUDE_DIR=${_include}"
    "-DOpenCV_core_LIBRARY=${world}/libopencv.so" "-DOpenCV_imgproc_LIBRARY=${world}/libopencv.so")
  expect_refusal("OpenCV 4.5 or newer is needed; found 4.4.0 in ${_include}.")
endmacro()

macro(case_openssl_1_1_1_is_refused)
  make_openssl("# define OPENSSL_VERSION_NUMBER  0x1010117fL")
  configure(${openssl_arguments})
  expect_refusal("OpenSSL 3.0 or newer is needed; found 1.1.1w in ${world}/openssl/include. \
Name another one with -DOPENSSL_ROOT_DIR=DIR.")
endmacro()

macro(case_openssl_3_0_0_is_taken)
  make_openssl("# define OPENSSL_VERSION_STR \"3.0.0\"")
  configure(${openssl_arguments})
  expect_success("OpenSSL 3.0.0, ${world}/openssl/include --")
endmacro()

macro(case_cuda_11_8_is_refused)
  make_nvcc(11.8 11.8.89)
  configure(-DSEG_MASK_DEVICE=cuda "-DCMAKE_CUDA_COMPILER=${world}/nvcc")
  expect_refusal("CUDA 12.0 or newer is needed; found 11.8.89 in ${world}/nvcc. \
Name another nvcc with -DCMAKE_CUDA_COMPILER=PATH.")
endmacro()

# It comes as far as trying the compiler, which this one does not survive.
macro(case_cuda_12_0_is_taken)
  make_nvcc(12.0 12.0.76)
  configure(-DSEG_MASK_DEVICE=cuda "-DCMAKE_CUDA_COMPILER=${world}/nvcc")
  expect_text("-- The CUDA compiler identification is")
  if(output MATCHES "is needed")
    message(SEND_ERROR "${output}")
  endif()
endmacro()

macro(case_what_is_no_nvcc_is_refused)
  configure(-DSEG_MASK_DEVICE=cuda "-DCMAKE_CUDA_COMPILER=${CXX_COMPILER}")
  expect_refusal("CUDA 12.0 or newer is needed; found an unknown version in ${CXX_COMPILER}.")
endmacro()

macro(case_missing_nvcc_is_refused)
  configure(-DSEG_MASK_DEVICE=cuda "-DCMAKE_CUDA_COMPILER=${world}/nvcc")
  expect_refusal("SEG_MASK_DEVICE=cuda needs nvcc, and there is no ${world}/nvcc (looked in PATH, CUDA_HOME and \
/usr/local/cuda). Name it with -DCMAKE_CUDA_COMPILER=PATH, or build with -DSEG_MASK_DEVICE=cpu.")
endmacro()

macro(case_unknown_device_is_refused)
  configure(-DSEG_MASK_DEVICE=gpu)
  expect_refusal("SEG_MASK_DEVICE is 'gpu'; it can be cpu or cuda")
endmacro()

macro(case_python_package_without_the_program_is_refused)
  configure(-DSEG_MASK_BUILD_PYTHON=ON)
  expect_refusal("SEG_MASK_BUILD_PYTHON needs SEG_MASK_BUILD_TOOLS: the package holds the program segmask")
endmacro()

macro(case_picture_library_without_header_is_refused)
  file(WRITE "${world}/zelvo/lib/libZelvoTools.so" "")
  configure("-DZELVO_TOOLS_ROOT=${world}/zelvo")
  expect_refusal("ZELVO_TOOLS_ROOT: there is no include/zelvo/ZelvoPicture.h in ${world}/zelvo")
endmacro()

macro(case_picture_library_without_file_is_refused)
  file(WRITE "${world}/zelvo/include/zelvo/ZelvoPicture.h" "")
  configure("-DZELVO_TOOLS_ROOT=${world}/zelvo")
  expect_refusal("ZELVO_TOOLS_ROOT: there is no lib/libZelvoTools.so in ${world}/zelvo")
endmacro()

macro(case_picture_library_with_tests_is_refused)
  configure("-DZELVO_TOOLS_ROOT=${world}/zelvo" -DSEG_MASK_BUILD_TESTS=ON)
  expect_refusal("ZELVO_TOOLS_ROOT builds the plug-in alone; turn SEG_MASK_BUILD_TOOLS, _TESTS, _BENCHMARKS and _PYTHON off")
endmacro()

macro(case_picture_library_is_taken)
  file(WRITE "${world}/zelvo/include/zelvo/ZelvoPicture.h" "")
  file(WRITE "${world}/zelvo/lib/libZelvoTools.so" "")
  configure("-DZELVO_TOOLS_ROOT=${world}/zelvo")
  expect_success("(RelWithDebInfo): the plug-in, the value library -- device cpu,")
  expect_success("picture library the platform's, ${world}/zelvo --")
  # What is installed names the platform's library as a target, and not where this build found it.
  file(GLOB_RECURSE _exports "${build}/CMakeFiles/Export/*/SegMaskOverlay-*.cmake")
  if(_exports STREQUAL "")
    message(SEND_ERROR "there are no exports in ${build}")
  endif()
  foreach(_file IN LISTS _exports ITEMS "${build}/package/SegMaskOverlayConfig.cmake")
    file(READ "${_file}" _text)
    string(FIND "${_text}" "${world}" _at)
    if(NOT _at EQUAL -1)
      message(SEND_ERROR "${_file} names ${world}")
    endif()
    string(APPEND _all "${_text}")
  endforeach()
  foreach(_part IN ITEMS "SegMaskOverlay::zelvo_tools" "set(_sm_platform_pictures ON)")
    string(FIND "${_all}" "${_part}" _at)
    if(_at EQUAL -1)
      message(SEND_ERROR "the package lacks ${_part}")
    endif()
  endforeach()
endmacro()

file(REMOVE_RECURSE "${world}")
cmake_language(CALL "case_${CASE}")
