# The headers that others include, by their path from the root of the sources. Who uses the library
# writes <mesh_fib6/fib6.h>, <mesh_fib6/platform/mesh.h>, <mesh_fib6/host/mesh_host.h>, whether it is in
# his build or installed.

set(MESH_FIB6_PUBLIC_HEADERS
  include/mesh_fib6/message_api.h
  include/mesh_fib6/fib6.h
  include/mesh_fib6/fib6_cfg.h
  include/mesh_fib6/fib6_sync.h
  include/mesh_fib6/message_list.h
  include/mesh_fib6/messages.h
  include/mesh_fib6/mesh_fib6.hpp
  platform/mesh.h
  platform/osal.h)
set(MESH_FIB6_HOST_HEADERS
  host/mesh_host.h
  host/osal_host.h
  host/memory_host.h
  host/status_file.h)

# Where our own sources find them, and each other.
set(MESH_FIB6_OWN_INCLUDES ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/include)

# What is searched for them below the prefix. What is told to CMake's package of an installed tree.
set(MESH_FIB6_HEADER_DIR include)
if(MESH_FIB6_INSTALL)
  include(GNUInstallDirs)
  set(MESH_FIB6_HEADER_DIR ${CMAKE_INSTALL_INCLUDEDIR})
endif()

# And one that is written here, below the folder that those are linked in.
set(MESH_FIB6_VERSION_HEADER ${PROJECT_BINARY_DIR}/include/mesh_fib6/version.h)
configure_file(${CMAKE_CURRENT_LIST_DIR}/version.h.in ${MESH_FIB6_VERSION_HEADER} @ONLY)

# mesh_fib6_header_path(HEADER RESULT): where it lies below a folder that is searched for headers.
function(mesh_fib6_header_path header result)
  string(REGEX REPLACE "^include/mesh_fib6/" "" path ${header})
  set(${result} mesh_fib6/${path} PARENT_SCOPE)
endfunction()

# mesh_fib6_public_headers(TARGET header...): whoever links TARGET can include these, and none of the
# headers beside them: a parent's own `transport/send.h` must not turn out to be ours. In the build
# they are links to the sources.
function(mesh_fib6_public_headers target)
  set(folder ${PROJECT_BINARY_DIR}/include)
  foreach(header IN LISTS ARGN)
    mesh_fib6_header_path(${header} path)
    cmake_path(GET path PARENT_PATH below)
    file(MAKE_DIRECTORY ${folder}/${below})
    file(CREATE_LINK ${PROJECT_SOURCE_DIR}/${header} ${folder}/${path} SYMBOLIC)
  endforeach()
  target_include_directories(${target} INTERFACE
    "$<BUILD_INTERFACE:${folder}>;$<INSTALL_INTERFACE:${MESH_FIB6_HEADER_DIR}>")
endfunction()
