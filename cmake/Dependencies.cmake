# What the plug-in and the value library need of the system, each in a version that cmake/Versions.cmake allows.

# seg_mask_find(name)
#
# Finds OpenCV, class_loader or OpenSSL, or ends the configuration with the reason. Sets SEG_MASK_FOUND_<name> to which one
# it is, for people.
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
  # The link's target says which version it is.
  file(REAL_PATH "${class_loader_class_loader_LIBRARY}" SEG_MASK_FOUND_class_loader)
endmacro()

macro(_seg_mask_find_OpenSSL)
  find_package(OpenSSL REQUIRED COMPONENTS Crypto)
  seg_mask_require_version(OpenSSL "${OPENSSL_VERSION}" "${OPENSSL_INCLUDE_DIR}"
    "Name another one with -DOPENSSL_ROOT_DIR=DIR.")
  set(SEG_MASK_FOUND_OpenSSL "${OPENSSL_VERSION}, ${OPENSSL_INCLUDE_DIR}")
endmacro()
