# A module is one directory built as one static library, named by the path under which its headers are
# included: pallwatch_module(pallbus/faults ...) is the target pallbus_faults. It can include only its own
# headers and those of the modules listed after DEPENDS. Each module has an include directory that
# contains only a link to the module. Before a module is compiled, CheckIncludes.cmake rejects headers
# that it can reach only through another module.

# Precompiles headers for targets that name `name` after REUSE_FROM and have the same compile options.
function(pallwatch_precompile name)
  file(CONFIGURE OUTPUT ${CMAKE_BINARY_DIR}/${name}.cpp CONTENT "")
  add_library(${name} OBJECT ${CMAKE_BINARY_DIR}/${name}.cpp)
  target_precompile_headers(${name} PRIVATE ${ARGN})
endfunction()

# Precompiles the standard headers that most sources include: for the daemon and for the tools, which have
# different compile options.
if(PALLWATCH_QUICK_BUILD)
  foreach(name daemon_headers tools_headers)
    pallwatch_precompile(${name} <algorithm> <array> <chrono> <functional> <map> <memory> <optional> <set>
      <sstream> <string> <string_view> <system_error> <utility> <vector>)
  endforeach()
  target_compile_options(daemon_headers PRIVATE ${PALLWATCH_DAEMON_OPTIONS})
  target_compile_options(tools_headers PRIVATE ${PALLWATCH_TOOLS_OPTIONS})
endif()

# Sets the compile options of a target by its directory.
function(pallwatch_compile_options target)
  if(CMAKE_CURRENT_SOURCE_DIR MATCHES "^${PROJECT_SOURCE_DIR}/tests/")
    target_compile_options(${target} PRIVATE ${PALLWATCH_TEST_OPTIONS})
    return()
  endif()
  set(headers tools_headers)
  set(options ${PALLWATCH_TOOLS_OPTIONS})
  if(CMAKE_CURRENT_SOURCE_DIR MATCHES "^${PROJECT_SOURCE_DIR}/src/")
    set(headers daemon_headers)
    set(options ${PALLWATCH_DAEMON_OPTIONS})
  endif()
  target_compile_options(${target} PRIVATE ${options} ${PALLWATCH_QUICK_OPTIONS})
  if(PALLWATCH_QUICK_BUILD)
    target_precompile_headers(${target} REUSE_FROM ${headers})
  endif()
endfunction()

# Returns an include directory in which the current source directory has the name `path`.
function(pallwatch_include_directory result name path)
  set(view ${CMAKE_BINARY_DIR}/include/${name})
  get_filename_component(parent ${view}/${path} DIRECTORY)
  file(MAKE_DIRECTORY ${parent})
  file(CREATE_LINK ${CMAKE_CURRENT_SOURCE_DIR} ${view}/${path} SYMBOLIC)
  set(${result} ${view} PARENT_SCOPE)
endfunction()

# Checks the includes of the sources, and of the headers in the same directories, before `target` is
# compiled. `path` is the name of the current source directory in includes; `depends` lists the modules
# whose headers the sources may include.
function(pallwatch_check_includes target path sources depends)
  set(directories "")
  foreach(source ${sources})
    get_filename_component(directory ${source} DIRECTORY)
    string(REGEX REPLACE "/$" "" directory "${path}/${directory}")
    list(APPEND directories ${directory})
  endforeach()
  list(REMOVE_DUPLICATES directories)
  list(TRANSFORM sources PREPEND ${CMAKE_CURRENT_SOURCE_DIR}/ OUTPUT_VARIABLE files)
  foreach(directory ${directories})
    string(REGEX REPLACE "^${path}" "${CMAKE_CURRENT_SOURCE_DIR}" directory ${directory})
    file(GLOB found ${directory}/*.h)
    list(APPEND files ${found})
  endforeach()
  set(stamp ${CMAKE_BINARY_DIR}/include/${target}.checked)
  set(script ${PROJECT_SOURCE_DIR}/cmake/CheckIncludes.cmake)
  add_custom_command(OUTPUT ${stamp} DEPENDS ${files} ${script}
    COMMAND ${CMAKE_COMMAND} "-DFILES=${files}" "-DALLOWED=${directories};${depends}"
            -DMODULES=${CMAKE_BINARY_DIR}/include -DSTAMP=${stamp} -P ${script}
    COMMENT "Checking the includes of ${path}" VERBATIM)
  add_custom_target(${target}_includes DEPENDS ${stamp})
endfunction()

# THREADLESS programs and modules are built without the thread sanitizer, because the sanitizer's own
# thread prevents a process from entering a user namespace. Their modules then exist twice; the second
# target is <name>_threadless. In other builds there is only one target.
set(PALLWATCH_THREADLESS "")
if(PALLWATCH_SANITIZE MATCHES thread)
  set(PALLWATCH_THREADLESS _threadless)
endif()

function(pallwatch_module path)
  cmake_parse_arguments(MODULE "THREADLESS" "" "SOURCES;DEPENDS;LIBRARIES;DEFINITIONS" ${ARGN})
  string(REPLACE "/" "_" name ${path})
  pallwatch_include_directory(view ${name} ${path})
  pallwatch_check_includes(${name} ${path} "${MODULE_SOURCES}" "${MODULE_DEPENDS}")
  list(TRANSFORM MODULE_DEPENDS REPLACE "/" "_")
  set(targets ${name})
  if(MODULE_THREADLESS)
    list(APPEND targets ${name}${PALLWATCH_THREADLESS})
    list(REMOVE_DUPLICATES targets)
  endif()
  foreach(target ${targets})
    add_library(${target} STATIC ${MODULE_SOURCES})
    add_dependencies(${target} ${name}_includes)
    target_include_directories(${target} PUBLIC ${view})
    target_compile_definitions(${target} PRIVATE ${MODULE_DEFINITIONS})
    pallwatch_compile_options(${target})
    if(NOT target STREQUAL name)
      list(TRANSFORM MODULE_DEPENDS APPEND ${PALLWATCH_THREADLESS})
      set_target_properties(${target} PROPERTIES EXCLUDE_FROM_ALL ON)
      target_compile_options(${target} PRIVATE -fno-sanitize=thread)
    endif()
    target_link_libraries(${target} PUBLIC ${MODULE_DEPENDS} ${MODULE_LIBRARIES})
  endforeach()
endfunction()

# A program of tools/. Its own headers are included under the program's name.
function(pallwatch_program name)
  cmake_parse_arguments(PROGRAM "THREADLESS" "" "SOURCES;DEPENDS" ${ARGN})
  pallwatch_include_directory(view program_${name} ${name})
  pallwatch_check_includes(${name} ${name} "${PROGRAM_SOURCES}" "${PROGRAM_DEPENDS}")
  list(TRANSFORM PROGRAM_DEPENDS REPLACE "/" "_")
  add_executable(${name} ${PROGRAM_SOURCES})
  add_dependencies(${name} ${name}_includes)
  target_include_directories(${name} PRIVATE ${view})
  pallwatch_compile_options(${name})
  if(PROGRAM_THREADLESS AND PALLWATCH_THREADLESS)
    list(TRANSFORM PROGRAM_DEPENDS APPEND ${PALLWATCH_THREADLESS})
    target_compile_options(${name} PRIVATE -fno-sanitize=thread)
    target_link_options(${name} PRIVATE -fno-sanitize=thread)
  endif()
  target_link_libraries(${name} PRIVATE ${PROGRAM_DEPENDS})
endfunction()

# Tests are compiled more often than they run, so they are not optimised, and share precompiled headers
# of the test library. The tested code is built as it ships.
set(PALLWATCH_TEST_OPTIONS -O0 -g1)
function(pallwatch_test_headers)
  pallwatch_precompile(test_headers <gmock/gmock.h> <gtest/gtest.h>)
  target_link_libraries(test_headers PRIVATE GTest::gmock GTest::gtest)
  target_compile_options(test_headers PRIVATE ${PALLWATCH_TEST_OPTIONS})
endfunction()

function(pallwatch_test_sources target)
  target_compile_options(${target} PRIVATE ${PALLWATCH_TEST_OPTIONS})
  target_precompile_headers(${target} REUSE_FROM test_headers)
endfunction()

# The unit tests of one module: one executable; CTest knows each test.
function(pallwatch_unit_tests path)
  cmake_parse_arguments(UNIT "" "" "SOURCES;LIBRARIES" ${ARGN})
  string(REPLACE "/" "_" module ${path})
  add_executable(unit_${module} ${UNIT_SOURCES})
  target_link_libraries(unit_${module} PRIVATE ${module} ${UNIT_LIBRARIES} GTest::gmock GTest::gtest_main)
  pallwatch_test_sources(unit_${module})
  set(timeout 60)
  if(CMAKE_CROSSCOMPILING)
    set(timeout 600)  # emulation takes ten times as long
  endif()
  gtest_discover_tests(unit_${module} TEST_PREFIX ${path}/ PROPERTIES LABELS unit TIMEOUT ${timeout}
                       DISCOVERY_TIMEOUT 60)
endfunction()

# Lets the unit tests of a module observe its file calls and replace the result of one.
function(pallwatch_watch_file_calls module)
  target_sources(unit_${module} PRIVATE ${PROJECT_SOURCE_DIR}/tests/unit/support/file_calls.cpp)
  set(calls stat fstat open)
  if(CMAKE_SIZEOF_VOID_P EQUAL 4)
    # What 64-bit time and offsets make of them, see BuildSettings.cmake.
    set(calls __stat64_time64 __fstat64_time64 open64)
  endif()
  list(APPEND calls readlink read write fchown fchmod fsync close rename unlink rmdir mkdir)
  foreach(call ${calls})
    target_link_options(unit_${module} PRIVATE LINKER:--wrap=${call})
  endforeach()
endfunction()
