# Compiler settings of every target.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
# Function names and line numbers are enough for a stack trace; full debug information would take a
# tenth of the build time.
set(CMAKE_CXX_FLAGS_RELWITHDEBINFO "-O2 -g1 -DNDEBUG")
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)

# 64-bit times and file sizes on 32-bit cards, too (feature_test_macros(7)).
if(CMAKE_SIZEOF_VOID_P EQUAL 4)
  add_compile_definitions(_TIME_BITS=64 _FILE_OFFSET_BITS=64)
endif()

set(PALLWATCH_SANITIZE "" CACHE STRING "Sanitizers for every target: empty, 'address,undefined' or 'thread'")
set_property(CACHE PALLWATCH_SANITIZE PROPERTY STRINGS "" "address,undefined" "thread")

# The presets turn this on. A plain build uses the warning options of its user, because other compilers may warn of
# more than the compiler of the developers.
option(PALLWATCH_WARNINGS "Compile with the warnings of the project, and treat them as errors" OFF)
if(PALLWATCH_WARNINGS)
  # Without -Wpedantic: it rejects %m, with which our log texts end as syslog(3) defines it.
  add_compile_options(-Wall -Wextra -Wvla -Wshadow -Wconversion -Wsign-conversion
                      -Wold-style-cast -Wnon-virtual-dtor -Woverloaded-virtual -Wformat=2 -Werror)
endif()

# Reading the standard headers is most of a build. The default preset precompiles them, and optimises the tools
# less. Missing includes are found by the builds without: with sanitizers, for lint, for packages and of the
# daemon alone.
option(PALLWATCH_QUICK_BUILD "Precompile the most used standard headers, and build the tools with -O1" OFF)
set(PALLWATCH_QUICK_OPTIONS "")
set(PALLWATCH_TOOLS_OPTIONS "")
if(PALLWATCH_QUICK_BUILD)
  # With precompiled headers g++ 12 warns of writes in std::string that do not happen.
  set(PALLWATCH_QUICK_OPTIONS -Wno-array-bounds -Wno-restrict -Wno-stringop-overflow)
  set(PALLWATCH_TOOLS_OPTIONS -O1)
endif()

if(PALLWATCH_SANITIZE)
  add_compile_options(-fsanitize=${PALLWATCH_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${PALLWATCH_SANITIZE})
endif()

# The daemon is built for the memory of a small card: for size, and without functions that nothing calls.
# It contains the parts of the C++ library that it uses, because the shared library takes more memory, and
# more time at the start, than the daemon itself. doc/performance.md shows what each setting brings. Builds
# with sanitizers and for coverage do without them.
set(PALLWATCH_DAEMON_OPTIONS "")
set(PALLWATCH_DAEMON_LINK_OPTIONS "")
if(NOT PALLWATCH_SANITIZE AND NOT CMAKE_BUILD_TYPE STREQUAL "Debug")
  set(PALLWATCH_DAEMON_OPTIONS -Os -ffunction-sections -fdata-sections)
  set(PALLWATCH_DAEMON_LINK_OPTIONS LINKER:--gc-sections LINKER:--as-needed -static-libstdc++ -static-libgcc)
  # On x86: one bit instead of 24 bytes for an address that the loader adjusts, and no padding between
  # code and constants. ARM linkers have the second by default.
  if(CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|amd64")
    include(CheckLinkerFlag)
    foreach(option pack-relative-relocs noseparate-code)
      check_linker_flag(CXX LINKER:-z,${option} PALLWATCH_LINKER_${option})
      if(PALLWATCH_LINKER_${option})
        list(APPEND PALLWATCH_DAEMON_LINK_OPTIONS LINKER:-z,${option})
      endif()
    endforeach()
  endif()
endif()
