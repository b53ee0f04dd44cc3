# Which parts are built, and what each of them needs.
#
# The library needs a compiler and nothing else. By itself this project builds everything; as a part of
# another one it builds the library, until it is asked for more.

option(MESH_FIB6_HOST "Build the development host: stand-ins of the platform" ${PROJECT_IS_TOP_LEVEL})
option(MESH_FIB6_HOST_NATS "Build the development host's way to other machines (needs the NATS client)"
  ${MESH_FIB6_HOST})
option(MESH_FIB6_EXAMPLES "Build the examples and the demo (needs zlib and CLI11)" ${PROJECT_IS_TOP_LEVEL})
option(MESH_FIB6_FPM "With the examples, build the feed from a routing daemon (needs libmnl)" ON)
option(MESH_FIB6_TOOLS "Build the tools around the messages" ${PROJECT_IS_TOP_LEVEL})
option(MESH_FIB6_TESTS "Build the tests (needs GoogleTest, FlatBuffers and more)"
  ${PROJECT_IS_TOP_LEVEL})
option(MESH_FIB6_INSTALL "Have rules that install what is built" ${PROJECT_IS_TOP_LEVEL})
option(MESH_FIB6_BENCHMARKS "Let bench/ use the peers that it measures the library beside" OFF)
option(MESH_FIB6_WERROR "Take warnings for errors" OFF)
option(MESH_FIB6_X86_64_V2 "On x86-64, use the instructions of x86-64-v2" ON)
option(MESH_FIB6_UNITY "Compile all sources of a test, tool or stand-in at once" ON)
option(MESH_FIB6_SHUFFLES "Use the processor's byte shuffles, where it has them" ON)
set(MESH_FIB6_SANITIZE "" CACHE STRING "Sanitizers, for -fsanitize=")
option(MESH_FIB6_COVERAGE "Instrument for coverage" OFF)
set(MESH_FIB6_TOLVIMESH "" CACHE FILEPATH
  "The platform's libtolvimesh.so to link with, where the development host is not built")

set(MESH_FIB6_WITH_TESTS ${MESH_FIB6_TESTS})
if(PROJECT_IS_TOP_LEVEL)
  option(BUILD_TESTING "Build tests at all" ON)
  if(NOT BUILD_TESTING)
    set(MESH_FIB6_WITH_TESTS OFF)
  endif()
endif()

# These run, and so need something that takes the platform's place.
set(parts_that_run "")
foreach(part EXAMPLES TOOLS BENCHMARKS)
  if(MESH_FIB6_${part})
    list(APPEND parts_that_run MESH_FIB6_${part})
  endif()
endforeach()
if(MESH_FIB6_WITH_TESTS)
  list(APPEND parts_that_run MESH_FIB6_TESTS)
endif()
list(JOIN parts_that_run ", " named_parts)
list(TRANSFORM parts_that_run REPLACE "(.+)" "-D\\1=OFF" OUTPUT_VARIABLE without_them)
list(JOIN without_them " " without_them)

if(MESH_FIB6_TOLVIMESH AND MESH_FIB6_HOST)
  message(FATAL_ERROR "MESH_FIB6_TOLVIMESH names the platform's libtolvimesh.so, and MESH_FIB6_HOST "
    "builds a stand-in of it.\nTo link with the platform's, set -DMESH_FIB6_HOST=OFF ${without_them}\n"
    "To develop with the stand-in, leave it empty: -DMESH_FIB6_TOLVIMESH=")
endif()
if(parts_that_run AND NOT MESH_FIB6_HOST)
  message(FATAL_ERROR "What these options build runs on the development host, which MESH_FIB6_HOST=OFF "
    "leaves out: ${named_parts}.\nTo build the library alone, set ${without_them}\n"
    "To build them too, set -DMESH_FIB6_HOST=ON")
endif()
foreach(part TESTS BENCHMARKS)
  if(MESH_FIB6_${part} AND NOT PROJECT_IS_TOP_LEVEL)
    message(FATAL_ERROR "MESH_FIB6_${part} is for mesh_fib6 by itself, not as a part of "
      "${CMAKE_PROJECT_NAME}: set -DMESH_FIB6_${part}=OFF here and build it from ${PROJECT_SOURCE_DIR}.")
  endif()
endforeach()

# Debian's packages of libraries, when they are those of another architecture.
set(MESH_FIB6_FOREIGN "")
if(CMAKE_CROSSCOMPILING AND CMAKE_SYSTEM_PROCESSOR STREQUAL aarch64)
  set(MESH_FIB6_FOREIGN ":arm64")
endif()

# mesh_fib6_need(FOUND WHAT PACKAGE OPTION): stops where the variable FOUND says that WHAT is missing,
# and tells which of Debian's packages has it and which option does without it.
function(mesh_fib6_need found what package option)
  if(NOT ${found})
    message(FATAL_ERROR "${what} is missing. Install it (Debian's package ${package}; all that is "
      "needed: scripts/install-deps), or do without: -D${option}=OFF")
  endif()
endfunction()

# A build of this project alone is meant to be used: unoptimised, the codec is some twenty times slower.
get_property(several_types GLOBAL PROPERTY GENERATOR_IS_MULTI_CONFIG)
if(PROJECT_IS_TOP_LEVEL AND NOT several_types AND NOT CMAKE_BUILD_TYPE)
  message(STATUS "No build type is set: building Release (-DCMAKE_BUILD_TYPE=Debug to debug)")
  set(CMAKE_BUILD_TYPE Release CACHE STRING "Release, RelWithDebInfo, MinSizeRel or Debug" FORCE)
endif()

# Processes ask the loader for the libraries by these names, whatever the build type.
set(MESH_FIB6_BUILD_TYPES ${CMAKE_CONFIGURATION_TYPES})
if(NOT several_types)
  set(MESH_FIB6_BUILD_TYPES ${CMAKE_BUILD_TYPE})
endif()
foreach(type IN LISTS MESH_FIB6_BUILD_TYPES)
  string(TOUPPER ${type} type)
  set(CMAKE_${type}_POSTFIX "")
endforeach()
