# The programs and CMake lists that the documents show are those that are built and tested. Run by ctest.

cmake_minimum_required(VERSION 3.25)

function(check document language file)
  file(READ "${SOURCE_DIR}/${document}" _text)
  file(READ "${SOURCE_DIR}/${file}" _quoted)
  string(FIND "${_text}" "```${language}\n${_quoted}```\n" _at)
  if(_at EQUAL -1)
    message(SEND_ERROR "${document} does not quote ${file} as it is")
  endif()
endfunction()

check(docs/host-integration.md cpp examples/minimal_host/main.cpp)
check(docs/install.md cmake examples/value_library/CMakeLists.txt)
check(docs/install.md cmake examples/box_plugin/CMakeLists.txt)
check(docs/install.md cmake examples/overlay_host/CMakeLists.txt)
check(docs/install.md cpp examples/overlay_host/main.cpp)
