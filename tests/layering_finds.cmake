# tests/layering.cmake finds each thing that it is there to find. Run by ctest with SOURCE_DIR and an own WORK_DIR.

cmake_minimum_required(VERSION 3.25)

# A tree of these files ("path|text", lines parted by "\n") is refused with `expected`, or passes where that is empty.
function(expect what expected)
  file(REMOVE_RECURSE "${WORK_DIR}")
  foreach(_entry IN LISTS ARGN)
    string(REPLACE "|" ";" _entry "${_entry}")
    list(GET _entry 0 _path)
    list(GET _entry 1 _text)
    file(WRITE "${WORK_DIR}/${_path}" "${_text}\n")
  endforeach()
  execute_process(COMMAND "${CMAKE_COMMAND}" "-DSOURCE_DIR=${WORK_DIR}" -P "${SOURCE_DIR}/tests/layering.cmake"
    RESULT_VARIABLE _result ERROR_VARIABLE _output)
  # CMake breaks a long message into lines.
  string(REGEX REPLACE "[ \n]+" " " _text "${_output}")
  string(FIND "${_text}" "${expected}" _at)
  if(expected STREQUAL "")
    if(NOT _result EQUAL 0)
      message(SEND_ERROR "${what}: should pass but got\n${_output}")
    endif()
  elseif(_result EQUAL 0 OR _at EQUAL -1)
    message(SEND_ERROR "${what}: expected '${expected}' but got ${_result}\n${_output}")
  endif()
endfunction()

set(io_header "io/include/io/Line.h|")
set(private_header "io/src/Block.h|")

expect("what each may know" "" ${io_header} ${private_header}
  "io/src/Line.cpp|#include \"io/Line.h\"\n#include <vector>\n#include \"src/Block.h\""
  "video/src/Reader.cpp|#include \"io/Line.h\""
  "video/tests/test_Reader.cpp|#include \"test_support/Files.h\""
  "test_support/include/test_support/Files.h|")
expect("a wrong direction" "io/src/Line.cpp:3: \"video/Reader.h\" is of video, which io must not know"
  "video/include/video/Reader.h|"
  "io/src/Line.cpp|\n\n#include \"video/Reader.h\"")
expect("a wrong direction in angle brackets" "io/src/Line.cpp:1: \"video/Reader.h\" is of video"
  "video/include/video/Reader.h|"
  "io/src/Line.cpp|#include <video/Reader.h>")
expect("a test's header outside of tests" "video/src/Reader.cpp:1: \"test_support/Files.h\" is of test_support"
  "test_support/include/test_support/Files.h|"
  "video/src/Reader.cpp|#include \"test_support/Files.h\"")
expect("a header without a folder" "io/src/Line.cpp:2: \"Block.h\" does not say in which folder it lies" ${private_header}
  "io/src/Line.cpp|#include <string>\n#include \"Block.h\"")
expect("a private header of another room" "video/src/Reader.cpp:1: \"src/Block.h\" is no private header of video"
  ${private_header}
  "video/src/Reader.cpp|#include \"src/Block.h\"")
expect("a private header by its room" "video/src/Reader.cpp:1: \"io/src/Block.h\" is no public header of io"
  ${private_header}
  "video/src/Reader.cpp|#include \"io/src/Block.h\"")
expect("a private header by a way there" "video/src/Reader.cpp:1: \"../../io/src/Block.h\" begins with no room's name"
  ${private_header}
  "video/src/Reader.cpp|#include \"../../io/src/Block.h\"")
expect("blend and a detection" "seg_mask_overlay/src/blend/Table.cpp:1: \"detection/decision.h\" is of detection"
  "detection/include/detection/decision.h|"
  "seg_mask_overlay/src/blend/Table.cpp|#include \"detection/decision.h\"")
expect("blend and the geometry" ""
  "render_base/include/render_base/geometry.h|"
  "seg_mask_overlay/src/blend/Table.h|"
  "seg_mask_overlay/src/blend/Table.cpp|#include \"blend/Table.h\"\n#include \"render_base/geometry.h\"")
expect("two headers of one name" "video/src/Line.h:1: io/include/io/Line.h has the same name" ${io_header}
  "video/src/Line.h|")
expect("an empty tree" "there is nothing to read")
