# The headers that others include, by their path from the root of the sources: `modules/fib6/fib6.h`.

set(MESH_FIB6_PUBLIC_HEADERS
  modules/message_api.h
  modules/fib6/fib6.h
  modules/fib6_cfg/fib6_cfg.h
  modules/fib6_sync/fib6_sync.h
  transport/mesh.h)
set(MESH_FIB6_HOST_HEADERS
  host/mesh_host.h
  host/osal_host.h
  host/memory_host.h)

# Where they lie below the prefix. What is told to CMake's package of an installed tree.
set(MESH_FIB6_HEADER_DIR include/mesh_fib6)
if(MESH_FIB6_INSTALL)
  include(GNUInstallDirs)
  set(MESH_FIB6_HEADER_DIR ${CMAKE_INSTALL_INCLUDEDIR}/mesh_fib6)
endif()

# mesh_fib6_public_headers(TARGET header...): whoever links TARGET can include these, and none of the
# headers beside them: a parent's own `transport/send.h` must not turn out to be ours. In the build
# they are links to the sources.
function(mesh_fib6_public_headers target)
  set(folder ${PROJECT_BINARY_DIR}/include)
  foreach(header IN LISTS ARGN)
    cmake_path(GET header PARENT_PATH below)
    file(MAKE_DIRECTORY ${folder}/${below})
    file(CREATE_LINK ${PROJECT_SOURCE_DIR}/${header} ${folder}/${header} SYMBOLIC)
  endforeach()
  target_include_directories(${target} INTERFACE
    "$<BUILD_INTERFACE:${folder}>;$<INSTALL_INTERFACE:${MESH_FIB6_HEADER_DIR}>")
endfunction()
