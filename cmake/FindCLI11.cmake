# Finds CLI11 by its CMake package file, else by its header: the library is header-only, and some packages ship the
# headers alone. Defines CLI11::CLI11.

find_package(CLI11 QUIET CONFIG)
if(NOT TARGET CLI11::CLI11)
  find_path(CLI11_INCLUDE_DIR NAMES CLI/CLI.hpp)
  mark_as_advanced(CLI11_INCLUDE_DIR)
  if(CLI11_INCLUDE_DIR AND EXISTS "${CLI11_INCLUDE_DIR}/CLI/Version.hpp")
    file(STRINGS "${CLI11_INCLUDE_DIR}/CLI/Version.hpp" _line REGEX "#define CLI11_VERSION \"")
    if(_line MATCHES "\"([0-9.]+)\"")
      set(CLI11_VERSION ${CMAKE_MATCH_1})
    endif()
  endif()
  include(FindPackageHandleStandardArgs)
  find_package_handle_standard_args(CLI11
    REQUIRED_VARS CLI11_INCLUDE_DIR VERSION_VAR CLI11_VERSION REASON_FAILURE_MESSAGE "(Debian: libcli11-dev)")
  if(CLI11_FOUND)
    add_library(CLI11::CLI11 INTERFACE IMPORTED)
    set_target_properties(CLI11::CLI11 PROPERTIES INTERFACE_INCLUDE_DIRECTORIES "${CLI11_INCLUDE_DIR}")
  endif()
endif()
