# Finds the Python that the package `segmask` is for: the one that CMake is told (Python_EXECUTABLE, which pip's build sets),
# else that of the project's own environment, build/venv. Without either the package is passed over.

if(NOT SEG_MASK_BUILD_PYTHON)
  return()
endif()
if(NOT Python_EXECUTABLE)
  set(Python_EXECUTABLE "${PROJECT_SOURCE_DIR}/build/venv/bin/python")
  if(NOT EXISTS "${PROJECT_SOURCE_DIR}/build/venv/complete")
    message(STATUS "no Python environment (scripts/bootstrap makes build/venv): the Python package is passed over")
    set(SEG_MASK_BUILD_PYTHON OFF)
    return()
  endif()
endif()
find_package(Python 3.10 REQUIRED COMPONENTS Interpreter Development.Module)
execute_process(COMMAND "${Python_EXECUTABLE}" -m nanobind --cmake_dir
  OUTPUT_VARIABLE nanobind_ROOT OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
find_package(nanobind CONFIG REQUIRED)
