# Compiles the CUDA source with ptxas's report and fails unless each kernel lives in registers alone: no stack frame, no
# spills, no local and no shared memory. Prints the registers of each kernel.
#
#   cmake -DNVCC=nvcc -DSOURCE=file.cu -DKERNELS="name;..." -DINCLUDES="dir;..." -DOPTIONS="option;..."
#     -DARCHITECTURES="87-real;..." -DOUTPUT=file -P kernel_resources.cmake

set(targets)
foreach(architecture IN LISTS ARCHITECTURES)
  string(REPLACE "-real" "" architecture "${architecture}")
  list(APPEND targets "-gencode=arch=compute_${architecture},code=sm_${architecture}")
endforeach()
list(TRANSFORM INCLUDES PREPEND "-I")

execute_process(
  COMMAND "${NVCC}" ${OPTIONS} ${targets} -Xptxas=-v ${INCLUDES} -c "${SOURCE}" -o "${OUTPUT}"
  RESULT_VARIABLE result
  OUTPUT_VARIABLE report
  ERROR_VARIABLE report)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "${NVCC} failed (${result}):\n${report}")
endif()

# A kernel's part of the report, and it alone; the last line is "ptxas info    : Used 10 registers, used 0 barriers, 404
# bytes cmem[0]", where "bytes smem" and "bytes lmem" would stand too.
set(entry "Compiling entry function '[^\n']*[0-9](segmask_[a-z]+_kernel)[^\n']*' for 'sm_([0-9a-z]+)'")
set(frame "([0-9]+) bytes stack frame, ([0-9]+) bytes spill stores, ([0-9]+) bytes spill loads")
set(usage "Used ([0-9]+) registers([^\n]*)")

string(REGEX MATCHALL "${entry}" entries "${report}")
string(REGEX MATCHALL "Compiling entry function" all_entries "${report}")
string(REGEX MATCHALL "bytes stack frame" all_frames "${report}")
list(LENGTH entries found)
list(LENGTH all_entries found_in_all)
list(LENGTH all_frames found_frames)
list(LENGTH ARCHITECTURES expected)
list(LENGTH KERNELS kernels)
math(EXPR expected "${kernels} * ${expected}")
# A frame without a kernel is that of a function which was not inlined.
if(expected EQUAL 0 OR NOT found EQUAL expected OR NOT found_in_all EQUAL expected OR NOT found_frames EQUAL expected)
  message(FATAL_ERROR
    "expected [${KERNELS}] for each of [${ARCHITECTURES}], ${expected} in all, with a stack frame each; "
    "found ${found} of ${found_in_all} entries, ${found_frames} frames:\n${report}")
endif()

foreach(architecture IN LISTS ARCHITECTURES)
  string(REPLACE "-real" "" architecture "${architecture}")
  foreach(kernel IN LISTS KERNELS)
    if(NOT report MATCHES
        "'[^\n']*${kernel}[^\n']*' for 'sm_${architecture}'\n[^\n]*\n *${frame}\n[^\n]*${usage}")
      message(FATAL_ERROR "no resources of ${kernel} for sm_${architecture} in:\n${report}")
    endif()
    set(bytes "${CMAKE_MATCH_1} ${CMAKE_MATCH_2} ${CMAKE_MATCH_3}")
    set(registers "${CMAKE_MATCH_4}")
    set(rest "${CMAKE_MATCH_5}")
    if(NOT bytes STREQUAL "0 0 0")
      message(FATAL_ERROR
        "${kernel}, sm_${architecture}: stack frame, spill stores and spill loads are ${bytes} bytes")
    endif()
    if(rest MATCHES "[sl]mem")
      message(FATAL_ERROR "${kernel}, sm_${architecture}, uses more than registers and arguments: ${rest}")
    endif()
    message(STATUS "${kernel}, sm_${architecture}: ${registers} registers")
  endforeach()
endforeach()
