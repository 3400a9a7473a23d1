# A room is one directory of src/ built as one static library. It can include only its own headers
# and those of the rooms it USES: each room is published through an include directory that holds
# nothing but a link to it, so an arrow in the wrong direction does not compile.

function(pallwatch_room name)
  cmake_parse_arguments(ROOM "" "" "SOURCES;USES;LIBRARIES" ${ARGN})
  set(view ${CMAKE_BINARY_DIR}/rooms/${name})
  file(MAKE_DIRECTORY ${view})
  file(CREATE_LINK ${CMAKE_CURRENT_SOURCE_DIR} ${view}/${name} SYMBOLIC)

  add_library(${name} STATIC ${ROOM_SOURCES})
  target_include_directories(${name} PUBLIC ${view})
  target_link_libraries(${name} PUBLIC ${ROOM_USES} ${ROOM_LIBRARIES})
endfunction()

# plain_<name> is the room for a program that has to do without the thread sanitizer: the room itself,
# or under that sanitizer a second copy of it.
function(pallwatch_plain_room name)
  if(NOT PALLWATCH_SANITIZE MATCHES thread)
    add_library(plain_${name} ALIAS ${name})
    return()
  endif()
  get_target_property(sources ${name} SOURCES)
  get_target_property(directory ${name} SOURCE_DIR)
  get_target_property(uses ${name} INTERFACE_LINK_LIBRARIES)
  list(TRANSFORM sources PREPEND ${directory}/)
  list(TRANSFORM uses REPLACE "^model$" "plain_model")
  add_library(plain_${name} STATIC ${sources})
  target_include_directories(plain_${name} PUBLIC ${CMAKE_BINARY_DIR}/rooms/${name})
  target_link_libraries(plain_${name} PUBLIC ${uses})
  target_compile_options(plain_${name} PRIVATE -fno-sanitize=thread)
endfunction()

# Tests are compiled more often than they run: without optimisation, and with the headers of the test
# library compiled once for all of them. What they test is built as it ships.
set(PALLWATCH_TEST_OPTIONS -O0 -g1)
function(pallwatch_test_headers)
  file(CONFIGURE OUTPUT ${CMAKE_BINARY_DIR}/test_headers.cpp CONTENT "")
  add_library(test_headers OBJECT ${CMAKE_BINARY_DIR}/test_headers.cpp)
  target_link_libraries(test_headers PRIVATE GTest::gmock GTest::gtest)
  target_compile_options(test_headers PRIVATE ${PALLWATCH_TEST_OPTIONS})
  target_precompile_headers(test_headers PRIVATE <gmock/gmock.h> <gtest/gtest.h>)
endfunction()

function(pallwatch_test_sources target)
  target_compile_options(${target} PRIVATE ${PALLWATCH_TEST_OPTIONS})
  target_precompile_headers(${target} REUSE_FROM test_headers)
endfunction()

# The unit tests of one room: one file per source file, one executable, every test known to CTest.
function(pallwatch_unit_tests room)
  cmake_parse_arguments(UNIT "" "" "SOURCES;LIBRARIES" ${ARGN})
  add_executable(unit_${room} ${UNIT_SOURCES})
  target_link_libraries(unit_${room} PRIVATE ${room} ${UNIT_LIBRARIES} GTest::gmock GTest::gtest_main)
  pallwatch_test_sources(unit_${room})
  gtest_discover_tests(unit_${room} TEST_PREFIX ${room}/ PROPERTIES LABELS unit TIMEOUT 60
                       DISCOVERY_TIMEOUT 60)
endfunction()

# Lets the unit tests of a room see its file calls, and answer one in the system's place.
function(pallwatch_watch_file_calls room)
  target_sources(unit_${room} PRIVATE ${PROJECT_SOURCE_DIR}/tests/unit/support/file_calls.cpp)
  foreach(call stat fstat readlink open read write fchown fchmod fsync close rename unlink rmdir mkdir)
    target_link_options(unit_${room} PRIVATE LINKER:--wrap=${call})
  endforeach()
endfunction()
