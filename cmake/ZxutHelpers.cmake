# Generates the Windows .def file and the Linux version script from the one export list.
function(zxut_generate_exports list_file)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${list_file})
  file(STRINGS ${list_file} _lines)
  set(_names "")
  foreach(_l IN LISTS _lines)
    string(STRIP "${_l}" _l)
    if(_l STREQUAL "" OR _l MATCHES "^#")
      continue()
    endif()
    list(APPEND _names ${_l})
  endforeach()
  list(LENGTH _names _n)
  list(REMOVE_DUPLICATES _names)
  list(LENGTH _names _u)
  if(NOT _n EQUAL _u)
    message(FATAL_ERROR "exports.list names an export twice")
  endif()
  set(_def "LIBRARY zxUT22\nEXPORTS\n")
  set(_map "{\n  global:\n")
  foreach(_e IN LISTS _names)
    string(APPEND _def "  ${_e}\n")
    string(APPEND _map "    ${_e};\n")
  endforeach()
  string(APPEND _map "  local:\n    *;\n};\n")
  file(WRITE ${CMAKE_BINARY_DIR}/zxUT22.def.tmp "${_def}")
  file(WRITE ${CMAKE_BINARY_DIR}/zxUT22.map.tmp "${_map}")
  file(WRITE ${CMAKE_BINARY_DIR}/zxUT22.exports.txt.tmp "${_names}")
  configure_file(${CMAKE_BINARY_DIR}/zxUT22.def.tmp ${CMAKE_BINARY_DIR}/zxUT22.def COPYONLY)
  configure_file(${CMAKE_BINARY_DIR}/zxUT22.map.tmp ${CMAKE_BINARY_DIR}/zxUT22.map COPYONLY)
  string(REPLACE ";" "\n" _txt "${_names}")
  file(WRITE ${CMAKE_BINARY_DIR}/zxUT22.exports.txt "${_txt}\n")
  if(WIN32)
    set(ZXUT_DEF_FILE ${CMAKE_BINARY_DIR}/zxUT22.def PARENT_SCOPE)
  else()
    set(ZXUT_DEF_FILE "" PARENT_SCOPE)
  endif()
  set(ZXUT_VERSION_SCRIPT ${CMAKE_BINARY_DIR}/zxUT22.map PARENT_SCOPE)
  set(ZXUT_EXPORT_NAMES_FILE ${CMAKE_BINARY_DIR}/zxUT22.exports.txt PARENT_SCOPE)
endfunction()

# Compile settings shared by every test program.
function(zxut_test_settings target)
  target_link_libraries(${target} PRIVATE zxut_test_support zxut22_internal zxUT22 GTest::gtest_main GTest::gmock)
  target_include_directories(${target} PRIVATE ${CMAKE_CURRENT_SOURCE_DIR})
  target_compile_options(${target} PRIVATE -Winvalid-pch)
  target_compile_definitions(${target} PRIVATE ZXUT_TEST_DATA="${CMAKE_CURRENT_SOURCE_DIR}/data"
                                                ZXUT_SOURCE_DIR="${CMAKE_SOURCE_DIR}")
endfunction()

# The helpers every test program shares (tests/support, namespace zxsupport): a
# library of its own, not a test program. Included as "support/support_test_util.h".
function(zxut_add_test_support)
  file(GLOB _src CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/support/*.cc)
  add_library(zxut_test_support STATIC ${_src})
  target_link_libraries(zxut_test_support PUBLIC zxut22_internal GTest::gtest)
  target_include_directories(zxut_test_support PUBLIC ${CMAKE_CURRENT_SOURCE_DIR})
endfunction()

# GoogleTest's headers are the slow part of a test file: one precompiled header,
# built once and shared by every test program (same settings). <windows.h> is not
# in it: a test sees that only when it includes it (or zxUT22.h), as on Linux.
function(zxut_add_test_pch)
  file(WRITE ${CMAKE_CURRENT_BINARY_DIR}/test_pch.cc "// the shared precompiled header of the tests\n")
  # A (test-less) program, so that its flags (-fPIE) are those of the test programs.
  add_executable(zxut_test_pch ${CMAKE_CURRENT_BINARY_DIR}/test_pch.cc)
  zxut_test_settings(zxut_test_pch)
  target_precompile_headers(zxut_test_pch PRIVATE <gtest/gtest.h> <gmock/gmock.h> <string>
                                                  <vector> <memory> <cstdint> <cstring>)
endfunction()

# One test program per folder under tests/: every *.cc in it, GoogleTest's main,
# the internal library (internals) and the shared library (exports).
# A file named *_posix_test.cc is built on Linux only, *_win32_test.cc on Windows only.
function(zxut_add_test_suite dir)
  file(GLOB_RECURSE _src CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/${dir}/*.cc)
  if(WIN32)
    list(FILTER _src EXCLUDE REGEX "_posix_test\\.cc$")
  else()
    list(FILTER _src EXCLUDE REGEX "_win32_test\\.cc$")
  endif()
  if(NOT _src)
    return()
  endif()
  set(_t test_${dir})
  add_executable(${_t} ${_src})
  zxut_test_settings(${_t})
  # The folder's own helpers (<dir>_test_util.*) by name from its topic subfolders.
  target_include_directories(${_t} PRIVATE ${CMAKE_CURRENT_SOURCE_DIR}/${dir})
  target_precompile_headers(${_t} REUSE_FROM zxut_test_pch)
  add_test(NAME ${dir} COMMAND ${_t} --gtest_brief=1)
  set_tests_properties(${dir} PROPERTIES TIMEOUT 900
    ENVIRONMENT "ZXUT_TEST_BIN=${CMAKE_BINARY_DIR};ZXUT_SOURCE_DIR=${CMAKE_SOURCE_DIR};ZXUT_EXPORTS=${ZXUT_EXPORT_NAMES_FILE}")
  if(WIN32 AND CMAKE_CROSSCOMPILING)
    # Under wine a program very rarely stops making progress; the CI script runs a
    # failed suite once more, so a hang must end well before the 900 s.
    set_tests_properties(${dir} PROPERTIES FIXTURES_REQUIRED wine TIMEOUT 300)
  endif()
endfunction()
