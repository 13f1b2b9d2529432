# Finds Highway, the vector units' common language, by header and library: Highway::hwy.
find_path(Highway_INCLUDE_DIR NAMES hwy/highway.h)
find_library(Highway_LIBRARY NAMES hwy)
mark_as_advanced(Highway_INCLUDE_DIR Highway_LIBRARY)
include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(Highway REQUIRED_VARS Highway_LIBRARY Highway_INCLUDE_DIR
  REASON_FAILURE_MESSAGE "(Debian: libhwy-dev)")
if(Highway_FOUND AND NOT TARGET Highway::hwy)
  add_library(Highway::hwy UNKNOWN IMPORTED)
  set_target_properties(Highway::hwy PROPERTIES
    IMPORTED_LOCATION "${Highway_LIBRARY}"
    INTERFACE_INCLUDE_DIRECTORIES "${Highway_INCLUDE_DIR}")
endif()
