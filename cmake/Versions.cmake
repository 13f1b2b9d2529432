# The oldest supported versions of the project's dependencies, and the function that refuses older ones.

set(SEG_MASK_OLDEST_CUDA 12.0)
set(SEG_MASK_OLDEST_OpenCV 4.5)
set(SEG_MASK_OLDEST_OpenSSL 3.0)

# seg_mask_require_version(name version place advice)
#
# Ends the configuration when `version` of CUDA, OpenCV or OpenSSL, found at `place`, is too old or unknown. `advice` says
# how to name another one.
function(seg_mask_require_version name version place advice)
  if(NOT version)
    set(version "an unknown version")
  endif()
  if(NOT version MATCHES "^[0-9]" OR version VERSION_LESS SEG_MASK_OLDEST_${name})
    message(FATAL_ERROR
      "${name} ${SEG_MASK_OLDEST_${name}} or newer is needed; found ${version} in ${place}. ${advice}")
  endif()
endfunction()
