# Compiler and linker settings. What everything of ours is built with, tests and tools too, is set for
# this folder and those below it, which no project that this one is part of sees. The rest are interface
# targets: what a target links says what it is held to.

# Everything that is ours compiles without warnings, on g++ 12 and clang 14. Which warnings later
# compilers have, nobody knows: that they are errors is for us and our CI, not for who builds this.
add_library(mesh_fib6_warnings INTERFACE)
target_compile_options(mesh_fib6_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wshadow $<$<BOOL:${MESH_FIB6_WERROR}>:-Werror>)

# mesh_fib6_unity(target...): the sources of each of these are compiled as one, because what they
# include takes longer than they do. Never those of the library.
function(mesh_fib6_unity)
  set_target_properties(${ARGN} PROPERTIES
    UNITY_BUILD ${MESH_FIB6_UNITY} UNITY_BUILD_BATCH_SIZE 0)
endfunction()

if(MESH_FIB6_SANITIZE)
  add_compile_options(-fsanitize=${MESH_FIB6_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${MESH_FIB6_SANITIZE})
  if(CMAKE_CXX_COMPILER_ID MATCHES Clang)
    # The mesh's hook types take untyped pointers where ours take the record: the platform's
    # contract, the same machine call.
    add_compile_options(-fno-sanitize=function)
  endif()
endif()
if(MESH_FIB6_COVERAGE)
  # Inlined code is counted with its callers, whose copies cannot be told apart: nothing is inlined.
  # Counted atomically: tests with threads would otherwise lose counts, and what is left of the sums
  # looks like branches that nobody took.
  add_compile_options(--coverage -fprofile-update=atomic -Dalways_inline=noinline)
  add_link_options(--coverage)
endif()

if(CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|AMD64")
  if(MESH_FIB6_X86_64_V2)
    add_compile_options(-march=x86-64-v2)
  endif()
  set(branch_protection -fcf-protection=full)
elseif(CMAKE_SYSTEM_PROCESSOR MATCHES "aarch64|arm64")
  set(branch_protection -mbranch-protection=standard)
  # Atomic instructions where they stand: calls of them would need libgcc.
  set(atomics -mno-outline-atomics)
else()
  set(branch_protection "")
endif()

if(NOT MESH_FIB6_SHUFFLES)
  # Everywhere: tests and tools instantiate the codec too.
  add_compile_definitions(MESH_FIB6_PLAIN_CODEC)
endif()

# What ships, library, tool, tap and stand-ins: docs/security.md has the list, which scripts/check-hardening
# compares with what was built. Not every compiler has stack probes for every processor.
include(CheckCXXCompilerFlag)
set(CMAKE_REQUIRED_FLAGS -Werror)
check_cxx_compiler_flag(-fstack-clash-protection MESH_FIB6_PROBES_STACK)
unset(CMAKE_REQUIRED_FLAGS)
add_library(mesh_fib6_hardened INTERFACE)
target_compile_options(mesh_fib6_hardened INTERFACE
  -fstack-protector-strong ${branch_protection}
  $<$<BOOL:${MESH_FIB6_PROBES_STACK}>:-fstack-clash-protection>)

# Inside the library: no exceptions, no RTTI, nothing exported by accident.
add_library(mesh_fib6_inside INTERFACE)
target_link_libraries(mesh_fib6_inside INTERFACE mesh_fib6_hardened)
target_compile_options(mesh_fib6_inside INTERFACE
  -fno-exceptions -fno-rtti -fvisibility=hidden -fvisibility-inlines-hidden
  # Nothing is thrown, so nothing needs unwind tables (both flags: aarch64 has them on by default).
  -fno-asynchronous-unwind-tables -fno-unwind-tables -ffunction-sections -fdata-sections
  ${atomics}
  # Function-local statics would call the C++ runtime's guards.
  -fno-threadsafe-statics)
if(CMAKE_CXX_COMPILER_ID STREQUAL GNU)
  # constexpr objects of templates must not become process-wide unique symbols.
  target_compile_options(mesh_fib6_inside INTERFACE -fno-gnu-unique
    # A file beside each object: frames and calls, for tests/runtime/check_stack.py.
    -fcallgraph-info=su)
endif()

# The C library's checked calls need optimisation (without it, its headers warn), and sanitizers check
# more. Which build types they are in is settled type by type, by what is optimised in each: None with
# a packager's flags is, Debug with -Og too. Who asks for checked calls himself gets what he asked for.
set(MESH_FIB6_FORTIFIED_TYPES "")
get_directory_property(directory_options COMPILE_OPTIONS)
get_directory_property(directory_definitions COMPILE_DEFINITIONS)
foreach(type IN LISTS MESH_FIB6_BUILD_TYPES)
  string(TOUPPER ${type} TYPE)
  set(flags ${CMAKE_CXX_FLAGS} ${CMAKE_CXX_FLAGS_${TYPE}} ${directory_options} ${directory_definitions})
  list(JOIN flags " " flags)
  string(REGEX MATCHALL "(^| )-O[^ ]*" levels "${flags}")
  list(POP_BACK levels level)
  if(MESH_FIB6_SANITIZE OR flags MATCHES "_FORTIFY_SOURCE" OR NOT level MATCHES "-O([^0]|$)")
    continue()
  endif()
  list(APPEND MESH_FIB6_FORTIFIED_TYPES ${type})
  # Some compilers define it by themselves.
  target_compile_options(mesh_fib6_hardened INTERFACE
    $<$<CONFIG:${type}>:-U_FORTIFY_SOURCE> $<$<CONFIG:${type}>:-D_FORTIFY_SOURCE=2>)
endforeach()

add_library(mesh_fib6_hardened_link INTERFACE)
target_link_options(mesh_fib6_hardened_link INTERFACE
  LINKER:-z,relro LINKER:-z,now LINKER:-z,noexecstack LINKER:--gc-sections LINKER:--as-needed)
if(NOT MESH_FIB6_SANITIZE AND NOT MESH_FIB6_COVERAGE)
  target_link_options(mesh_fib6_hardened_link INTERFACE LINKER:-z,defs)
endif()

# The library itself: libc and nothing else of the toolchain's default libraries.
add_library(mesh_fib6_bare_link INTERFACE)
if(CMAKE_SYSTEM_PROCESSOR STREQUAL aarch64 AND NOT MESH_FIB6_SANITIZE AND NOT MESH_FIB6_COVERAGE)
  # The stack protector's guard lives in the loader there. Any process has it, but the linker would
  # write the loader down as a library that is needed.
  target_link_options(mesh_fib6_bare_link INTERFACE -nodefaultlibs LINKER:-z,undefs)
  target_link_libraries(mesh_fib6_bare_link INTERFACE -l:libc.so.6)
  # What Cortex-A53's erratum 843419 asks for, done in place: everything is near enough. The
  # linker's own way puts 8 KiB of room for detours into any library that has one such place. Where
  # nothing is optimised, not everything is near.
  include(CheckLinkerFlag)
  set(fix_in_place LINKER:--fix-cortex-a53-843419=adr)
  check_linker_flag(CXX ${fix_in_place} MESH_FIB6_FIXES_IN_PLACE)
  if(MESH_FIB6_FIXES_IN_PLACE)
    target_link_options(mesh_fib6_bare_link INTERFACE $<$<NOT:$<CONFIG:Debug>>:${fix_in_place}>)
  endif()
endif()
