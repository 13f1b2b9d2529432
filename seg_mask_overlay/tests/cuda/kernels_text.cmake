# Cuts the kernels out of the CUDA source: its anonymous namespace, which is C++ but for __global__ and the indices.
#
#   cmake -DSOURCE=file.cu -DOUTPUT=file.inc -P kernels_text.cmake

set(opening "namespace {\n")
set(closing "}  // namespace\n")

file(READ "${SOURCE}" text)
string(FIND "${text}" "${opening}" begin)
string(FIND "${text}" "${closing}" end)
if(begin EQUAL -1 OR end LESS begin)
  message(FATAL_ERROR "${SOURCE} has no anonymous namespace")
endif()
string(LENGTH "${closing}" closing_length)
math(EXPR length "${end} + ${closing_length} - ${begin}")
string(SUBSTRING "${text}" ${begin} ${length} kernels)

# What the compiler says of the text is said of the CUDA source.
string(SUBSTRING "${text}" 0 ${begin} before)
string(REGEX MATCHALL "\n" newlines "${before}")
list(LENGTH newlines lines_before)
math(EXPR first_line "${lines_before} + 1")
file(WRITE "${OUTPUT}" "#line ${first_line} \"${SOURCE}\"\n${kernels}")
