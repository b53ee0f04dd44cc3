# Where libtolvimesh.so comes from, the mesh that the library needs when it is loaded.
#
# To link, the linker wants to see a library of that name with the four functions: the stand-in, where
# the development host is built; the platform's, where MESH_FIB6_TOLVIMESH names it; otherwise one that
# has their names and nothing behind them. The library comes out the same.

if(MESH_FIB6_TOLVIMESH)
  if(NOT EXISTS "${MESH_FIB6_TOLVIMESH}" OR IS_DIRECTORY "${MESH_FIB6_TOLVIMESH}")
    message(FATAL_ERROR "MESH_FIB6_TOLVIMESH is to name the platform's libtolvimesh.so, and there is no "
      "file ${MESH_FIB6_TOLVIMESH}. Without it the library is linked all the same: -DMESH_FIB6_TOLVIMESH=")
  endif()
  add_library(mesh_fib6::tolvimesh SHARED IMPORTED)
  set_target_properties(mesh_fib6::tolvimesh PROPERTIES
    IMPORTED_LOCATION "${MESH_FIB6_TOLVIMESH}"
    # By its name, not by its path, even when it does not say its name itself.
    IMPORTED_NO_SONAME ON)
elseif(NOT MESH_FIB6_HOST)
  add_library(mesh_fib6_link_stub SHARED cmake/link_stub.c)
  target_include_directories(mesh_fib6_link_stub PRIVATE ${PROJECT_SOURCE_DIR})
  target_link_libraries(mesh_fib6_link_stub PRIVATE mesh_fib6_warnings)
  set_target_properties(mesh_fib6_link_stub PROPERTIES
    OUTPUT_NAME tolvimesh
    LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/link
    C_VISIBILITY_PRESET default)
endif()

# mesh_fib6_link_mesh(TARGET)
function(mesh_fib6_link_mesh target)
  if(NOT TARGET mesh_fib6_link_stub)
    target_link_libraries(${target} PRIVATE mesh_fib6::tolvimesh)
    return()
  endif()
  # Not as a target, whose folder would become a place where programs look for libraries: without the
  # platform's mesh they are to hear so from the loader.
  target_link_libraries(${target} PRIVATE $<TARGET_LINKER_FILE:mesh_fib6_link_stub>)
  set_target_properties(${target} PROPERTIES BUILD_WITH_INSTALL_RPATH ON)
  # Only the linker of such a program looks there. From where it is started: see MeshFib6Exports.cmake.
  set(started_in $<TARGET_PROPERTY:BINARY_DIR>)
  if(CMAKE_GENERATOR MATCHES Ninja)
    set(started_in ${CMAKE_BINARY_DIR})
  endif()
  set(stub_dir $<PATH:RELATIVE_PATH,$<TARGET_FILE_DIR:mesh_fib6_link_stub>,${started_in}>)
  target_link_options(${target} INTERFACE $<BUILD_INTERFACE:LINKER:-rpath-link,${stub_dir}>)
endfunction()
