# scripts/gpu_check refuses what it does not know, falls back to the kernels where a library is missing, and ends with its
# table. Run by ctest, with or without a GPU; a run of the whole plug-in is made by hand.

cmake_minimum_required(VERSION 3.25)
set(ENV{SEG_MASK_CHECK_BUILD} "${WORK_DIR}/build")
file(REMOVE_RECURSE "${WORK_DIR}")
file(MAKE_DIRECTORY "${WORK_DIR}")

# expect(codes text argument...): runs the script with the arguments; it must end with one of `codes` and say `text`.
function(expect codes text)
  execute_process(COMMAND "${SOURCE_DIR}/scripts/gpu_check" ${ARGN}
    WORKING_DIRECTORY "${WORK_DIR}/.." RESULT_VARIABLE _result OUTPUT_VARIABLE _output ERROR_VARIABLE _output)
  string(FIND "${_output}" "${text}" _at)
  if(NOT _result IN_LIST codes OR _at EQUAL -1)
    message(SEND_ERROR "gpu_check ${ARGN}: expected ${codes} and '${text}', got ${_result} and\n${_output}")
  endif()
  set(output "${_output}" PARENT_SCOPE)
endfunction()

expect(0 "Exit code: 0 all that could run passed on a GPU" --help)
expect(2 "gpu_check: unknown argument 'now'; only CMake's -D... (see --help)" now)
expect(1 "gpu_check: ${WORK_DIR}/no_nvcc is missing" -DCMAKE_CUDA_COMPILER=${WORK_DIR}/no_nvcc)

# A library that is too old counts as missing. The path is relative to where the script is called.
file(WRITE "${WORK_DIR}/openssl/include/openssl/ssl.h" "")
file(WRITE "${WORK_DIR}/openssl/include/openssl/opensslv.h" "# define OPENSSL_VERSION_NUMBER  0x1010117fL\n")
file(WRITE "${WORK_DIR}/openssl/lib/libcrypto.so" "")
cmake_path(GET WORK_DIR FILENAME folder)
expect("0;77" "gpu_check: the kernels alone: OpenSSL 3.0 or newer is needed; found 1.1.1w in ${WORK_DIR}/openssl/include."
  "-DCMAKE_CUDA_COMPILER=${NVCC}" -DOPENSSL_INCLUDE_DIR:PATH=${folder}/openssl/include
  "-DOPENSSL_CRYPTO_LIBRARY=${WORK_DIR}/openssl/lib/libcrypto.so")
foreach(row IN ITEMS
    "| what | ours | beside it | beside : ours |\n| --- | --- | --- | --- |\n| kernels draw the host's bytes | "
    "\n| the one-pass kernel draws the host's bytes | "
    "\n| tests of the plug-in | not run | the kernels alone were built: OpenSSL 3.0 or newer is needed; found 1.1.1w in ${WORK_DIR}/openssl/include. "
    "\n| frame times | not run | the kernels alone were built |  |\n")
  string(FIND "${output}" "${row}" at)
  if(at EQUAL -1)
    message(SEND_ERROR "the table lacks '${row}':\n${output}")
  endif()
endforeach()

# A mistake that is no missing library is no reason to build less.
expect(1 "SEG_MASK_FUZZERS needs clang" "-DCMAKE_CUDA_COMPILER=${NVCC}" -DSEG_MASK_FUZZERS=ON)
