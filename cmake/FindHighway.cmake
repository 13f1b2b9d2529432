# Finds Highway, a portable SIMD library, by its headers and defines Highway::hwy. Highway's compiled library, which
# only chooses the code for the processor, is not used.
find_path(Highway_INCLUDE_DIR NAMES hwy/highway.h)
mark_as_advanced(Highway_INCLUDE_DIR)
include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(Highway REQUIRED_VARS Highway_INCLUDE_DIR
  REASON_FAILURE_MESSAGE "(Debian: libhwy-dev)")
if(Highway_FOUND AND NOT TARGET Highway::hwy)
  add_library(Highway::hwy INTERFACE IMPORTED)
  set_target_properties(Highway::hwy PROPERTIES INTERFACE_INCLUDE_DIRECTORIES "${Highway_INCLUDE_DIR}")
endif()
