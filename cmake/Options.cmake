# All options of the build.

set(SEG_MASK_DEVICE cpu CACHE STRING "What answers the CUDA runtime calls: cpu (this project's cudart_cpu) or cuda (the toolkit)")
set_property(CACHE SEG_MASK_DEVICE PROPERTY STRINGS cpu cuda)
if(NOT SEG_MASK_DEVICE MATCHES "^(cpu|cuda)$")
  message(FATAL_ERROR "SEG_MASK_DEVICE is '${SEG_MASK_DEVICE}'; it can be cpu or cuda")
endif()

set(SEG_MASK_SANITIZE "" CACHE STRING "Sanitizers, comma separated as -fsanitize takes them; empty for none")

set(ZELVO_TOOLS_ROOT "" CACHE PATH "Where the platform's picture library lies (include/, lib/libZelvoTools.so); empty builds the stand-in")

option(SEG_MASK_KERNELS_ONLY "Build the launcher, its check and its benchmark alone; needs a compiler and the device's toolkit" OFF)

# The tools and the tests use parts of the stand-in that the platform's library does not have (upload, download, a
# device backend), so a build against the real one builds the plug-in alone.
if(ZELVO_TOOLS_ROOT OR SEG_MASK_KERNELS_ONLY)
  set(_stand_in OFF)
else()
  set(_stand_in ON)
endif()
option(SEG_MASK_BUILD_TOOLS "Build the reference host and the examples" ${_stand_in})
option(SEG_MASK_BUILD_TESTS "Build the tests" ${_stand_in})
option(SEG_MASK_BUILD_BENCHMARKS "Build the benchmarks" OFF)
option(SEG_MASK_BUILD_PYTHON "Build the Python package" OFF)
if(ZELVO_TOOLS_ROOT AND
    (SEG_MASK_BUILD_TOOLS OR SEG_MASK_BUILD_TESTS OR SEG_MASK_BUILD_BENCHMARKS OR SEG_MASK_BUILD_PYTHON))
  message(FATAL_ERROR "ZELVO_TOOLS_ROOT builds the plug-in alone; turn SEG_MASK_BUILD_TOOLS, _TESTS, _BENCHMARKS and _PYTHON off")
endif()
if(SEG_MASK_BUILD_PYTHON AND NOT SEG_MASK_BUILD_TOOLS)
  message(FATAL_ERROR "SEG_MASK_BUILD_PYTHON needs SEG_MASK_BUILD_TOOLS: the package holds the program segmask")
endif()
if(SEG_MASK_KERNELS_ONLY AND (SEG_MASK_BUILD_TOOLS OR SEG_MASK_BUILD_TESTS OR SEG_MASK_BUILD_BENCHMARKS))
  message(FATAL_ERROR "SEG_MASK_KERNELS_ONLY builds neither tools nor tests; turn SEG_MASK_BUILD_TOOLS, _TESTS and _BENCHMARKS off")
endif()

option(SEG_MASK_FUZZERS "Make the fuzzers libFuzzer programs instead of replays; needs clang" OFF)
if(SEG_MASK_FUZZERS AND NOT CMAKE_CXX_COMPILER_ID MATCHES "Clang")
  message(FATAL_ERROR "SEG_MASK_FUZZERS needs clang; the compiler is ${CMAKE_CXX_COMPILER_ID}")
endif()
if(SEG_MASK_FUZZERS AND SEG_MASK_BUILD_TESTS)
  message(FATAL_ERROR "a build has either fuzzers or tests; turn SEG_MASK_BUILD_TESTS off")
endif()

option(SEG_MASK_WARNINGS_AS_ERRORS "Treat compiler warnings as errors" OFF)

# Guard bytes around each picture plane: on by default in debug builds.
if(CMAKE_BUILD_TYPE STREQUAL "Debug")
  set(_guard_bytes ON)
else()
  set(_guard_bytes OFF)
endif()
option(SEG_MASK_GUARD_BYTES "Surround picture planes with guard bytes, checked when a picture is freed" ${_guard_bytes})

option(SEG_MASK_PACKAGES "Install as Debian's packages do, and let cpack make some (scripts/package)" OFF)

# Where the installation puts libraries, the libraries that have no version in their names (the plug-ins and what belongs to
# them), and the public headers, below the prefix. The loader searches Debian's folder of libraries, so those without a version
# have one of their own there.
if(SEG_MASK_PACKAGES)
  set(SEG_MASK_LIBDIR "lib/${CMAKE_LIBRARY_ARCHITECTURE}")
  set(SEG_MASK_PLUGINDIR "${SEG_MASK_LIBDIR}/seg-mask-overlay")
  set(SEG_MASK_INCLUDEDIR include/seg-mask-overlay)
  set(SEG_MASK_GSTREAMER_FOLDER "${SEG_MASK_LIBDIR}/gstreamer-1.0")
else()
  set(SEG_MASK_LIBDIR lib)
  set(SEG_MASK_PLUGINDIR lib)
  set(SEG_MASK_INCLUDEDIR include)
endif()
