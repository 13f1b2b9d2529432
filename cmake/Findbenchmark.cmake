# Finds Google Benchmark by its CMake package file, else by header and library.
find_package(benchmark QUIET CONFIG)
if(NOT benchmark_FOUND)
  find_path(benchmark_INCLUDE_DIR NAMES benchmark/benchmark.h)
  find_library(benchmark_LIBRARY NAMES benchmark)
  mark_as_advanced(benchmark_INCLUDE_DIR benchmark_LIBRARY)
  include(FindPackageHandleStandardArgs)
  find_package_handle_standard_args(benchmark REQUIRED_VARS benchmark_LIBRARY benchmark_INCLUDE_DIR)
  if(benchmark_FOUND AND NOT TARGET benchmark::benchmark)
    add_library(benchmark::benchmark UNKNOWN IMPORTED)
    set_target_properties(benchmark::benchmark PROPERTIES
      IMPORTED_LOCATION "${benchmark_LIBRARY}"
      INTERFACE_INCLUDE_DIRECTORIES "${benchmark_INCLUDE_DIR}"
      INTERFACE_LINK_LIBRARIES Threads::Threads)
  endif()
endif()
