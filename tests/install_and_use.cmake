# Installs the build, moves what was installed, and uses it as a stranger would: builds the example value_library
# against it, as a project outside of the tree, and compares what that writes. Run by ctest, which sets the variables;
# TOOLCHAIN_FILE and EMULATOR only in a cross build.

cmake_minimum_required(VERSION 3.25)
foreach(_variable IN ITEMS BUILD_DIR SOURCE_DIR WORK_DIR GENERATOR CXX_COMPILER READELF)
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

function(check_headers)
  file(GLOB_RECURSE _sources RELATIVE "${SOURCE_DIR}/core/include" "${SOURCE_DIR}/core/include/*")
  file(GLOB_RECURSE _installed RELATIVE "${prefix}/include" "${prefix}/include/*")
  expect_equal("headers" "${_installed}" "${_sources}")
  foreach(_header IN LISTS _installed)
    file(STRINGS "${prefix}/include/${_header}" _foreign REGEX "#include.*(openssl|gtest)")
    expect_equal("includes of ${_header}" "${_foreign}" "")
  endforeach()
endfunction()

function(check_files)
  file(GLOB_RECURSE _package "${prefix}/lib/cmake/*")
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

# Configures the project in `folder`; sets `result` and `output` for the caller.
function(configure folder)
  execute_process(
    COMMAND "${CMAKE_COMMAND}" -S "${folder}" -B "${folder}/build" -G "${GENERATOR}" "-DCMAKE_PREFIX_PATH=${prefix}"
      "-DCMAKE_CXX_COMPILER=${CXX_COMPILER}" "-DCMAKE_CXX_FLAGS=${CXX_FLAGS}" "-DCMAKE_TOOLCHAIN_FILE=${TOOLCHAIN_FILE}"
    RESULT_VARIABLE _result OUTPUT_VARIABLE _output ERROR_VARIABLE _output)
  set(result "${_result}" PARENT_SCOPE)
  set(output "${_output}" PARENT_SCOPE)
endfunction()

# A project that asks for what is not there fails, and reads why.
function(check_refusal name request reason)
  file(WRITE "${WORK_DIR}/${name}/CMakeLists.txt"
    "cmake_minimum_required(VERSION 3.25)\nproject(Refused LANGUAGES CXX)\nfind_package(SegMaskOverlay ${request})\n")
  configure("${WORK_DIR}/${name}")
  # CMake breaks a long message into lines.
  string(REGEX REPLACE "[ \n]+" " " _text "${output}")
  string(FIND "${_text}" "${reason}" _at)
  if(result EQUAL 0 OR _at EQUAL -1)
    message(SEND_ERROR "find_package(SegMaskOverlay ${request}) should fail with '${reason}': ${result}\n${output}")
  endif()
endfunction()

function(check_example)
  file(COPY "${SOURCE_DIR}/examples/value_library/" DESTINATION "${WORK_DIR}/example")
  configure("${WORK_DIR}/example")
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "the example does not configure:\n${output}")
  endif()
  execute_process(COMMAND "${CMAKE_COMMAND}" --build "${WORK_DIR}/example/build"
    OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
  execute_process(COMMAND ${EMULATOR} "${WORK_DIR}/example/build/value_library"
    RESULT_VARIABLE _result OUTPUT_VARIABLE _output ERROR_VARIABLE _messages)
  expect_equal("exit status" "${_result}" "0")
  file(READ "${SOURCE_DIR}/tests/install_and_use_output.txt" _expected)
  expect_equal("output" "${_output}" "${_expected}")
  expect_equal("messages" "${_messages}" "********************CALL ONCE NOT TWICE********************\n")

  file(GET_RUNTIME_DEPENDENCIES EXECUTABLES "${WORK_DIR}/example/build/value_library"
    RESOLVED_DEPENDENCIES_VAR _libraries UNRESOLVED_DEPENDENCIES_VAR _missing)
  list(FILTER _libraries INCLUDE REGEX "/libsw_core\\.so")
  expect_equal("the example's library" "${_libraries}" "${prefix}/lib/libsw_core.so")
endfunction()

install_and_move()
check_headers()
check_files()
check_refusal(unknown_component "REQUIRED COMPONENTS core paint" "SegMaskOverlay has no component 'paint'; it has: core")
check_refusal(newer_version "0.2 REQUIRED" "compatible with requested version \"0.2\"")
check_example()
