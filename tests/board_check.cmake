# scripts/board_check refuses what it does not know, and says of a wrong folder what is missing there. Run by ctest. What
# it says of a machine is that machine's; a whole run builds the plug-in and is made by hand.

cmake_minimum_required(VERSION 3.25)
set(ENV{SEG_MASK_CHECK_BUILD} "${WORK_DIR}/build")
file(REMOVE_RECURSE "${WORK_DIR}")

# expect(code text argument...): runs the script with the arguments; it must end with `code` and say `text`.
function(expect code text)
  execute_process(COMMAND "${SOURCE_DIR}/scripts/board_check" ${ARGN}
    RESULT_VARIABLE _result OUTPUT_VARIABLE _output ERROR_VARIABLE _output)
  string(FIND "${_output}" "${text}" _at)
  if(NOT _result EQUAL code OR _at EQUAL -1)
    message(SEND_ERROR "board_check ${ARGN}: expected ${code} and '${text}', got ${_result} and\n${_output}")
  endif()
endfunction()

expect(0 "Exit code: 0 everything needed is there and works" --help)
expect(2 "board_check: unknown argument 'now'; only CMake's -D... (see --help)" now)
expect(2 "board_check: unknown argument '-DA'; only CMake's -D... (see --help)" -DA)
expect(2 "board_check: 'gpu' is no device: cpu or cuda" -DSEG_MASK_DEVICE=gpu)
expect(1 "missing  picture library  there is no include/zelvo/ZelvoPicture.h in /nowhere\n"
  -DSEG_MASK_DEVICE=cpu -DZELVO_TOOLS_ROOT=/nowhere)
expect(1 "not run  build            something above is missing\n" -DSEG_MASK_DEVICE:STRING=cpu -DZELVO_TOOLS_ROOT:PATH=/nowhere)

file(WRITE "${WORK_DIR}/openssl/include/openssl/ssl.h" "")
file(WRITE "${WORK_DIR}/openssl/include/openssl/opensslv.h" "# define OPENSSL_VERSION_NUMBER  0x1010117fL\n")
file(WRITE "${WORK_DIR}/openssl/lib/libcrypto.so" "")
expect(1 "failed   OpenSSL          OpenSSL 3.0 or newer is needed; found 1.1.1w in ${WORK_DIR}/openssl/include."
  -DSEG_MASK_DEVICE=cpu "-DOPENSSL_INCLUDE_DIR=${WORK_DIR}/openssl/include"
  "-DOPENSSL_CRYPTO_LIBRARY=${WORK_DIR}/openssl/lib/libcrypto.so")
