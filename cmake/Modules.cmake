# A module is one directory built as one static library, named by the path under which its headers are
# included: pallwatch_module(pallbus/faults ...) is the target pallbus_faults. It can include only its own
# headers and those of the modules it DEPENDS on: each module is published through an include directory
# that holds nothing but a link to it, so a dependency that is not declared does not compile.

# The include directory through which the current source directory is seen as `path`.
function(pallwatch_include_directory result name path)
  set(view ${CMAKE_BINARY_DIR}/include/${name})
  get_filename_component(parent ${view}/${path} DIRECTORY)
  file(MAKE_DIRECTORY ${parent})
  file(CREATE_LINK ${CMAKE_CURRENT_SOURCE_DIR} ${view}/${path} SYMBOLIC)
  set(${result} ${view} PARENT_SCOPE)
endfunction()

function(pallwatch_module path)
  cmake_parse_arguments(MODULE "" "" "SOURCES;DEPENDS;LIBRARIES" ${ARGN})
  string(REPLACE "/" "_" name ${path})
  pallwatch_include_directory(view ${name} ${path})
  list(TRANSFORM MODULE_DEPENDS REPLACE "/" "_")
  add_library(${name} STATIC ${MODULE_SOURCES})
  target_include_directories(${name} PUBLIC ${view})
  target_link_libraries(${name} PUBLIC ${MODULE_DEPENDS} ${MODULE_LIBRARIES})
endfunction()

# A program of tools/, whose own headers are included by the program's name.
function(pallwatch_program name)
  cmake_parse_arguments(PROGRAM "" "" "SOURCES;DEPENDS" ${ARGN})
  pallwatch_include_directory(view program_${name} ${name})
  list(TRANSFORM PROGRAM_DEPENDS REPLACE "/" "_")
  add_executable(${name} ${PROGRAM_SOURCES})
  target_include_directories(${name} PRIVATE ${view})
  target_link_libraries(${name} PRIVATE ${PROGRAM_DEPENDS})
endfunction()

# plain_<name> is the module for a program that must not run under the thread sanitizer: the module itself,
# or under that sanitizer a second copy of it.
function(pallwatch_plain_module name)
  if(NOT PALLWATCH_SANITIZE MATCHES thread)
    add_library(plain_${name} ALIAS ${name})
    return()
  endif()
  get_target_property(sources ${name} SOURCES)
  get_target_property(directory ${name} SOURCE_DIR)
  get_target_property(uses ${name} INTERFACE_LINK_LIBRARIES)
  list(TRANSFORM sources PREPEND ${directory}/)
  list(TRANSFORM uses REPLACE "^(model|util)$" "plain_\\1")
  add_library(plain_${name} STATIC ${sources})
  target_include_directories(plain_${name} PUBLIC ${CMAKE_BINARY_DIR}/include/${name})
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

# The unit tests of one module: one file per source file, one executable, every test known to CTest.
function(pallwatch_unit_tests path)
  cmake_parse_arguments(UNIT "" "" "SOURCES;LIBRARIES" ${ARGN})
  string(REPLACE "/" "_" module ${path})
  add_executable(unit_${module} ${UNIT_SOURCES})
  target_link_libraries(unit_${module} PRIVATE ${module} ${UNIT_LIBRARIES} GTest::gmock GTest::gtest_main)
  pallwatch_test_sources(unit_${module})
  gtest_discover_tests(unit_${module} TEST_PREFIX ${path}/ PROPERTIES LABELS unit TIMEOUT 60
                       DISCOVERY_TIMEOUT 60)
endfunction()

# Lets the unit tests of a module see its file calls, and answer one in the system's place.
function(pallwatch_watch_file_calls module)
  target_sources(unit_${module} PRIVATE ${PROJECT_SOURCE_DIR}/tests/unit/support/file_calls.cpp)
  foreach(call stat fstat readlink open read write fchown fchmod fsync close rename unlink rmdir mkdir)
    target_link_options(unit_${module} PRIVATE LINKER:--wrap=${call})
  endforeach()
endfunction()
