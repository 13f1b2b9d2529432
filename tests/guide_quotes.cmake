# The host that docs/host-integration.md shows is the one that is built and tested. Run by ctest.

cmake_minimum_required(VERSION 3.25)
file(READ "${SOURCE_DIR}/docs/host-integration.md" _guide)
file(READ "${SOURCE_DIR}/examples/minimal_host/main.cpp" _program)
string(FIND "${_guide}" "```cpp\n${_program}```\n" _at)
if(_at EQUAL -1)
  message(FATAL_ERROR "docs/host-integration.md does not quote examples/minimal_host/main.cpp as it is")
endif()
