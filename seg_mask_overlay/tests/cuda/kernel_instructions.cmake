# Compiles the CUDA source to PTX, which the machine code is made from, and counts what each kernel does: it loads and
# stores the bytes of the planes, reads the mask, and what belongs to it, through the read-only path and nothing else so,
# and blends with the four operations of blendByte() alone, each with its rounding spelled out (".rn"), which no later step
# may fuse.
#
#   cmake -DNVCC=nvcc -DSOURCE=file.cu -DKERNELS="name;..." -DINCLUDES="dir;..." -DOPTIONS="option;..."
#     -DARCHITECTURES="87-real;..." -DOUTPUT=file -P kernel_instructions.cmake

# The places in the text where each kernel reads through the read-only path, and samples that it blends. The fused kernel
# reads 4 bits of the mask with 4 entries of a column's map and 2 of a row's; of its tables 2 ends of a list and an item's
# number, and of an item 8 sides of rectangles and 6 colours, the column map's place 4 times and the row map's, the mask's
# width and its first bit twice each.
set(segmask_y_kernel_counts 1 1)
set(segmask_uv_kernel_counts 4 2)
set(segmask_fused_kernel_counts 37 6)

list(TRANSFORM INCLUDES PREPEND "-I")

# The instructions of `text` that match `pattern` are to be as many as expected.
function(expect_count text what pattern expected)
  string(REGEX MATCHALL "\n[ \t]*(@!?%p[0-9]+[ \t]+)?${pattern}" instructions "${text}")
  list(LENGTH instructions count)
  if(NOT count EQUAL expected)
    message(FATAL_ERROR "${what}: ${count} times ${pattern} instead of ${expected}:\n${text}")
  endif()
endfunction()

function(check_kernel ptx kernel architecture)
  list(GET ${kernel}_counts 0 reads)
  list(GET ${kernel}_counts 1 blends)
  # PTX ends its statements with a semicolon, which would end a list's element here.
  string(REPLACE ";" "" ptx "${ptx}")
  string(REGEX MATCHALL "\\.entry [^ (\n]*[0-9]${kernel}[^ (\n]*\\(" entries "${ptx}")
  list(LENGTH entries count)
  if(NOT count EQUAL 1)
    message(FATAL_ERROR "${count} kernels ${kernel} for ${architecture}:\n${ptx}")
  endif()
  string(FIND "${ptx}" "${entries}" begin)
  string(SUBSTRING "${ptx}" ${begin} -1 text)
  string(FIND "${text}" "\n}" end)
  string(SUBSTRING "${text}" 0 ${end} text)

  set(what "${kernel}, ${architecture}")
  math(EXPR loads "${reads} + ${blends}")
  math(EXPR arithmetic "3 * ${blends} + 1")  # 1 - alpha is the same for U and V
  expect_count("${text}" "${what}" "ld\\.global\\.nc\\." ${reads})
  expect_count("${text}" "${what}" "ld\\.global\\.u8 " ${blends})
  expect_count("${text}" "${what}" "ld\\.(global|shared|local|volatile|relaxed|acquire|u|s|b)" ${loads})
  expect_count("${text}" "${what}" "st\\.global\\.u8 " ${blends})
  expect_count("${text}" "${what}" "st\\." ${blends})
  expect_count("${text}" "${what}" "sub\\.rn\\.f32 " 1)
  expect_count("${text}" "${what}" "mul\\.rn\\.f32 " ${blends})
  expect_count("${text}" "${what}" "fma\\.rn\\.f32 " ${blends})
  expect_count("${text}" "${what}" "add\\.rn\\.f32 " ${blends})
  expect_count("${text}" "${what}"
    "(add|sub|mul|fma|mad|div|rcp|neg|abs|min|max|sqrt)\\.[a-z.]*f(16|32|64)" ${arithmetic})
  expect_count("${text}" "${what}" "(atom|red|bar|barrier|membar|fence|call)[. ]" 0)
  message(STATUS "${what}: ${reads} reads by the read-only path, ${blends} blends of 4 operations")
endfunction()

if(NOT ARCHITECTURES)
  message(FATAL_ERROR "no architectures")
endif()
foreach(architecture IN LISTS ARCHITECTURES)
  string(REPLACE "-real" "" architecture "compute_${architecture}")
  execute_process(
    COMMAND "${NVCC}" ${OPTIONS} "-arch=${architecture}" ${INCLUDES} -ptx "${SOURCE}" -o "${OUTPUT}"
    COMMAND_ERROR_IS_FATAL ANY)
  file(READ "${OUTPUT}" ptx)
  foreach(kernel IN LISTS KERNELS)
    check_kernel("${ptx}" ${kernel} ${architecture})
  endforeach()
endforeach()
