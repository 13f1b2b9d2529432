# Installs the build, moves what was installed, and uses it as a stranger would: builds the examples that are projects of
# their own against it, outside of the tree, and compares what they write. Run by ctest, which sets the variables:
# TOOLCHAIN_FILE and EMULATOR only in a cross build, PRELOAD (libraries for the device's part) only in a CUDA build, and
# EXAMPLES, of those below, fewer in builds that compile slowly.

cmake_minimum_required(VERSION 3.25)
foreach(_variable IN ITEMS BUILD_DIR SOURCE_DIR WORK_DIR GENERATOR CXX_COMPILER READELF DEVICE EXAMPLES)
  if(NOT ${_variable})
    message(FATAL_ERROR "install_and_use: ${_variable} is not set")
  endif()
endforeach()
set(prefix "${WORK_DIR}/moved")

function(expect_equal what actual expected)
  if(NOT actual STREQUAL expected)
    message(SEND_ERROR "${what}: expected\n${expected}\nbut got\n${actual}")
  endif()
endfunction()

# What an installed file must not know: where it was built.
function(expect_no_build_path file text)
  foreach(_folder IN ITEMS "${SOURCE_DIR}" "${BUILD_DIR}" "${WORK_DIR}")
    string(FIND "${text}" "${_folder}" _at)
    if(NOT _at EQUAL -1)
      message(SEND_ERROR "${file} names ${_folder}")
    endif()
  endforeach()
endfunction()

function(install_and_move)
  file(REMOVE_RECURSE "${WORK_DIR}")
  execute_process(COMMAND "${CMAKE_COMMAND}" --install "${BUILD_DIR}" --prefix "${WORK_DIR}/installed"
    OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
  file(RENAME "${WORK_DIR}/installed" "${prefix}")
endfunction()

# The public headers of the installed rooms are there, and all that they include of ours.
function(check_headers)
  set(_expected)
  foreach(_room IN ITEMS core zelvo_tools render_base/geometry render_base mask detection io host)
    file(GLOB_RECURSE _headers RELATIVE "${SOURCE_DIR}/${_room}/include" "${SOURCE_DIR}/${_room}/include/*")
    list(APPEND _expected ${_headers})
  endforeach()
  if(DEVICE STREQUAL "cpu")
    file(GLOB_RECURSE _headers RELATIVE "${SOURCE_DIR}/cudart_cpu/include" "${SOURCE_DIR}/cudart_cpu/include/*")
    list(TRANSFORM _headers PREPEND "cudart_cpu/" OUTPUT_VARIABLE _headers)
    list(APPEND _expected ${_headers})
  endif()
  list(SORT _expected)
  file(GLOB_RECURSE _installed RELATIVE "${prefix}/include" "${prefix}/include/*")
  list(SORT _installed)
  expect_equal("headers" "${_installed}" "${_expected}")
  foreach(_header IN LISTS _installed)
    file(STRINGS "${prefix}/include/${_header}" _lines REGEX "^#include \"")
    foreach(_line IN LISTS _lines)
      string(REGEX MATCH "\"(.*)\"" _quoted "${_line}")
      if(NOT EXISTS "${prefix}/include/${CMAKE_MATCH_1}" AND NOT EXISTS "${prefix}/include/cudart_cpu/${CMAKE_MATCH_1}")
        message(SEND_ERROR "${_header} includes ${CMAKE_MATCH_1}, which is not installed")
      endif()
    endforeach()
    file(STRINGS "${prefix}/include/${_header}" _foreign REGEX "#include.*(openssl|gtest|src/)")
    expect_equal("includes of ${_header}" "${_foreign}" "")
  endforeach()
endfunction()

function(check_files)
  file(GLOB_RECURSE _package "${prefix}/lib/cmake/*" "${prefix}/lib/pkgconfig/*")
  foreach(_file IN LISTS _package)
    file(READ "${_file}" _text)
    expect_no_build_path("${_file}" "${_text}")
    string(REGEX MATCH "OpenSSL::[A-Za-z]*" _target "${_text}")
    expect_equal("OpenSSL's target in ${_file}" "${_target}" "")
  endforeach()

  file(GLOB _binaries "${prefix}/bin/*" "${prefix}/lib/*.so")
  foreach(_binary IN LISTS _binaries)
    execute_process(COMMAND "${READELF}" -d "${_binary}" OUTPUT_VARIABLE _dynamic COMMAND_ERROR_IS_FATAL ANY)
    expect_no_build_path("${_binary}" "${_dynamic}")
    string(REGEX MATCH "R(UN)?PATH[^[]*\\[([^]]*)\\]" _found "${_dynamic}")
    expect_equal("RUNPATH of ${_binary}" "${CMAKE_MATCH_2}" "\$ORIGIN:\$ORIGIN/../lib")
  endforeach()

  file(GLOB_RECURSE _all RELATIVE "${prefix}" "${prefix}/*")
  list(FILTER _all INCLUDE REGEX "test|gtest|gmock")
  expect_equal("files for tests" "${_all}" "")
endfunction()

# Configures the project in `folder`, with further arguments for CMake; sets `result` and `output` for the caller.
function(configure folder)
  execute_process(
    COMMAND "${CMAKE_COMMAND}" -S "${folder}" -B "${folder}/build" -G "${GENERATOR}" "-DCMAKE_PREFIX_PATH=${prefix}"
      "-DCMAKE_CXX_COMPILER=${CXX_COMPILER}" "-DCMAKE_CXX_FLAGS=${CXX_FLAGS}" "-DCMAKE_TOOLCHAIN_FILE=${TOOLCHAIN_FILE}"
      ${ARGN}
    RESULT_VARIABLE _result OUTPUT_VARIABLE _output ERROR_VARIABLE _output)
  set(result "${_result}" PARENT_SCOPE)
  set(output "${_output}" PARENT_SCOPE)
endfunction()

# A project that asks for what is not there fails, and reads why. Further arguments are CMake's.
function(check_refusal name request reason)
  file(WRITE "${WORK_DIR}/${name}/CMakeLists.txt"
    "cmake_minimum_required(VERSION 3.25)\nproject(Refused LANGUAGES CXX)\nfind_package(SegMaskOverlay ${request})\n")
  configure("${WORK_DIR}/${name}" ${ARGN})
  # CMake breaks a long message into lines.
  string(REGEX REPLACE "[ \n]+" " " _text "${output}")
  string(FIND "${_text}" "${reason}" _at)
  if(result EQUAL 0 OR _at EQUAL -1)
    message(SEND_ERROR "find_package(SegMaskOverlay ${request}) should fail with '${reason}': ${result}\n${output}")
  endif()
endfunction()

function(check_refusals)
  set(_known "core, cudart_cpu, cudart, zelvo_tools, render_base, mask, detection, io, host")
  check_refusal(unknown_component "REQUIRED COMPONENTS core paint"
    "SegMaskOverlay has no component 'paint'; its components are: ${_known}")
  check_refusal(newer_version "0.3 REQUIRED" "compatible with requested version \"0.3\"")
  check_refusal(missing_package "REQUIRED COMPONENTS detection"
    "component 'detection' needs its component 'mask', which needs OpenCV, which was not found (core and imgproc;"
    -DCMAKE_DISABLE_FIND_PACKAGE_OpenCV=ON)
  # As where a distribution has put a component into a package of its own.
  set(_file "${prefix}/lib/cmake/SegMaskOverlay/SegMaskOverlay-mask.cmake")
  file(RENAME "${_file}" "${_file}.away")
  check_refusal(missing_component "REQUIRED COMPONENTS mask" "SegMaskOverlay's component 'mask' is not installed")
  file(RENAME "${_file}.away" "${_file}")
endfunction()

# Builds a copy of examples/`name`, its tests left out, into ${WORK_DIR}/`name`/build; sets `output`, what configure said.
function(build_example name)
  file(COPY "${SOURCE_DIR}/examples/${name}/" DESTINATION "${WORK_DIR}/${name}" PATTERN tests EXCLUDE)
  configure("${WORK_DIR}/${name}")
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "examples/${name} does not configure:\n${output}")
  endif()
  execute_process(COMMAND "${CMAKE_COMMAND}" --build "${WORK_DIR}/${name}/build"
    RESULT_VARIABLE _result OUTPUT_VARIABLE _output ERROR_VARIABLE _output)
  if(NOT _result EQUAL 0)
    message(FATAL_ERROR "examples/${name} does not build:\n${_output}")
  endif()
  set(output "${output}" PARENT_SCOPE)
endfunction()

# Runs a program, which must succeed, write `expected` and report no more than that the registries were filled.
function(expect_output expected program)
  execute_process(COMMAND "${CMAKE_COMMAND}" -E env "LD_PRELOAD=${PRELOAD}" ${EMULATOR} "${program}" ${ARGN}
    RESULT_VARIABLE _result OUTPUT_VARIABLE _output ERROR_VARIABLE _messages)
  expect_equal("exit status of ${program}" "${_result}" "0")
  expect_equal("output of ${program}" "${_output}" "${expected}")
  expect_equal("messages of ${program}" "${_messages}" "********************CALL ONCE NOT TWICE********************\n")
endfunction()

function(check_value_library)
  build_example(value_library)
  file(READ "${SOURCE_DIR}/tests/install_and_use_output.txt" _expected)
  expect_output("${_expected}" "${WORK_DIR}/value_library/build/value_library")
  file(GET_RUNTIME_DEPENDENCIES EXECUTABLES "${WORK_DIR}/value_library/build/value_library"
    RESOLVED_DEPENDENCIES_VAR _libraries UNRESOLVED_DEPENDENCIES_VAR _missing)
  list(FILTER _libraries INCLUDE REGEX "/libsw_core\\.so")
  expect_equal("the example's library" "${_libraries}" "${prefix}/lib/libsw_core.so.${INTERFACE}")
endfunction()

# A host of the package draws with the package's plug-in, with the plug-in of another project, and, once it is installed too,
# with the plug-in that it finds by itself. The box has 16 x 8 pixels, its outline, 2 pixels wide, 16 x 8 - 12 x 4.
function(check_overlay_host)
  build_example(overlay_host)
  string(REGEX MATCH "The plug-ins are in [^\n]*" _said "${output}")
  expect_equal("the plug-ins' folder" "${_said}" "The plug-ins are in ${prefix}/lib")
  set(_detections "${WORK_DIR}/detections.jsonl")
  file(WRITE "${_detections}" "{\"frame\": 0, \"producer\": \"detector\", \"detections\": [{\"x\": 16, \"y\": 8, "
    "\"w\": 16, \"h\": 8, \"class_id\": 5, \"score\": 0.9, \"class_info\": \"SEG1|1|1|AQ==\"}]}\n")
  set(_host "${WORK_DIR}/overlay_host/build/overlay_host")
  foreach(_plugin IN ITEMS libseg_mask_overlay.so libseg_mask_overlay_fused.so)
    expect_output("SegMaskOverlayPlugin: 128 pixels drawn\n" "${_host}" "${_detections}" "${prefix}/lib/${_plugin}")
  endforeach()
  if("box_plugin" IN_LIST EXAMPLES)
    build_example(box_plugin)
    expect_output("BoxPlugin: 80 pixels drawn\n" "${_host}" "${_detections}" "${WORK_DIR}/box_plugin/build/libbox_plugin.so")
  endif()
  execute_process(COMMAND "${CMAKE_COMMAND}" --install "${WORK_DIR}/overlay_host/build" --prefix "${prefix}"
    OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
  expect_output("SegMaskOverlayPlugin: 128 pixels drawn\n" "${prefix}/bin/overlay_host" "${_detections}")
endfunction()

# What pkg-config says is enough to compile and link with.
function(check_pkg_config)
  find_program(_pkg_config pkg-config)
  if(NOT _pkg_config)
    message(STATUS "not tried: there is no pkg-config")
    return()
  endif()
  execute_process(COMMAND "${CMAKE_COMMAND}" -E env "PKG_CONFIG_PATH=${prefix}/lib/pkgconfig"
      "${_pkg_config}" --cflags --libs "sw_core >= 0.2"
    OUTPUT_VARIABLE _flags OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  separate_arguments(_flags UNIX_COMMAND "${_flags}")
  set(_source "${WORK_DIR}/pkg_config.cpp")
  file(WRITE "${_source}" "#include <core/SwString.h>\nint main() { return SwString(\"a\").at(0) == 'a' ? 0 : 1; }\n")
  execute_process(COMMAND "${CXX_COMPILER}" -std=c++17 "${_source}" -o "${WORK_DIR}/pkg_config" ${_flags}
      "-Wl,-rpath,${prefix}/lib"
    COMMAND_ERROR_IS_FATAL ANY)
  execute_process(COMMAND "${WORK_DIR}/pkg_config" COMMAND_ERROR_IS_FATAL ANY)
endfunction()

# The installed element finds the plug-in, and a pipeline with it gives the bytes that the installed tool gives.
function(check_gstreamer)
  set(_library "${prefix}/lib/gstreamer-1.0/libgstsegmask.so")
  execute_process(COMMAND "${READELF}" -d "${_library}" OUTPUT_VARIABLE _dynamic COMMAND_ERROR_IS_FATAL ANY)
  expect_no_build_path("${_library}" "${_dynamic}")
  string(REGEX MATCH "R(UN)?PATH[^[]*\\[([^]]*)\\]" _found "${_dynamic}")
  expect_equal("RUNPATH of ${_library}" "${CMAKE_MATCH_2}" "\$ORIGIN:\$ORIGIN/..:\$ORIGIN/../..")
  find_program(_launch gst-launch-1.0)
  if(NOT _launch)
    message(STATUS "not tried: there is no gst-launch-1.0")
    return()
  endif()
  set(_files "${WORK_DIR}/gstreamer")
  file(MAKE_DIRECTORY "${_files}")
  file(WRITE "${_files}/d.jsonl" "{\"frame\": 1, \"producer\": \"detector\", \"detections\": [{\"x\": 16, \"y\": 8, "
    "\"w\": 16, \"h\": 8, \"class_id\": 5, \"score\": 0.9, \"class_info\": \"SEG1|1|1|AQ==\"}]}\n")
  set(_gstreamer "${CMAKE_COMMAND}" -E env "GST_PLUGIN_PATH=${prefix}/lib/gstreamer-1.0" "GST_REGISTRY=${_files}/registry.bin"
    "${_launch}" -q)
  set(_source videotestsrc num-buffers=3 ! "video/x-raw,format=NV12,width=64,height=48,framerate=30/1")
  execute_process(COMMAND ${_gstreamer} ${_source} ! filesink "location=${_files}/in.nv12" COMMAND_ERROR_IS_FATAL ANY)
  execute_process(COMMAND ${_gstreamer} ${_source} ! segmaskoverlay "location=${_files}/d.jsonl" !
      filesink "location=${_files}/element.nv12" ERROR_QUIET COMMAND_ERROR_IS_FATAL ANY)
  execute_process(COMMAND "${prefix}/bin/segmask" render --input "${_files}/in.nv12" --size 64x48
      --detections "${_files}/d.jsonl" --output "${_files}/tool.nv12" OUTPUT_QUIET ERROR_QUIET COMMAND_ERROR_IS_FATAL ANY)
  foreach(_name IN ITEMS in element tool)
    file(SHA256 "${_files}/${_name}.nv12" _${_name})
  endforeach()
  expect_equal("the pipeline's bytes" "${_element}" "${_tool}")
  if(_tool STREQUAL _in)
    message(SEND_ERROR "nothing is drawn in the pipeline")
  endif()
endfunction()

install_and_move()
check_headers()
check_files()
if("value_library" IN_LIST EXAMPLES)
  check_value_library()
  check_refusals()
endif()
if("pkg_config" IN_LIST EXAMPLES)
  check_pkg_config()
endif()
check_overlay_host()
if("gstreamer" IN_LIST EXAMPLES)
  check_gstreamer()
endif()
