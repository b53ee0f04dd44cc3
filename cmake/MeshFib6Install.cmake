# What `cmake --install` puts where, and how others find it there.
#
# Three components. A device takes `runtime`; who builds programs for it adds `development`; `host`
# holds the stand-ins of the platform, which on a device would stand in the platform's way.

include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/mesh_fib6)
set(pkgconfig_dir ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
# Headers include each other by their path from the root of the sources.
set(header_dir ${CMAKE_INSTALL_INCLUDEDIR}/mesh_fib6)

# Beside the library its neighbour is found at a prefix that the loader does not search, and nothing
# changes at one that it does. -DCMAKE_INSTALL_RPATH= leaves the entry out.
if(NOT DEFINED CMAKE_INSTALL_RPATH)
  set_target_properties(mesh_fib6 PROPERTIES INSTALL_RPATH "\$ORIGIN")
endif()

# install_libraries(COMPONENT EXPORT target...): shared libraries that others link.
function(install_libraries component export)
  foreach(library IN LISTS ARGN)
    # The folder of the sources is of no use, nor of anybody's concern, outside the build.
    set_target_properties(${library} PROPERTIES INTERFACE_INCLUDE_DIRECTORIES
      "$<BUILD_INTERFACE:${CMAKE_SOURCE_DIR}>;$<INSTALL_INTERFACE:${header_dir}>")
  endforeach()
  install(TARGETS ${ARGN} EXPORT ${export}
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT ${component})
endfunction()

# install_headers(COMPONENT header...): at the path they have in the sources.
function(install_headers component)
  foreach(header IN LISTS ARGN)
    cmake_path(GET header PARENT_PATH folder)
    install(FILES ${header} DESTINATION ${header_dir}/${folder} COMPONENT ${component})
  endforeach()
endfunction()

# install_targets_file(COMPONENT EXPORT): the imported targets, for mesh_fib6Config.cmake.
function(install_targets_file component export)
  install(EXPORT ${export} NAMESPACE mesh_fib6:: DESTINATION ${package_dir} COMPONENT ${component})
endfunction()

# install_pkgconfig(COMPONENT NAME): from cmake/NAME.pc.in. Folders are told from the file, so that
# the tree can be moved.
function(install_pkgconfig component name)
  cmake_path(SET up /)
  cmake_path(RELATIVE_PATH up BASE_DIRECTORY /${pkgconfig_dir})
  cmake_path(APPEND pc_prefix "\${pcfiledir}" ${up})
  cmake_path(APPEND pc_libdir "\${prefix}" ${CMAKE_INSTALL_LIBDIR})
  cmake_path(APPEND pc_includedir "\${prefix}" ${CMAKE_INSTALL_INCLUDEDIR})
  configure_file(cmake/${name}.pc.in ${name}.pc @ONLY)
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${name}.pc DESTINATION ${pkgconfig_dir}
    COMPONENT ${component})
endfunction()

install_libraries(runtime mesh_fib6Targets mesh_fib6)

install_headers(development
  modules/message_api.h
  modules/fib6/fib6.h
  modules/fib6_cfg/fib6_cfg.h
  modules/fib6_sync/fib6_sync.h
  transport/mesh.h)
install_targets_file(development mesh_fib6Targets)
install_pkgconfig(development mesh_fib6)
configure_package_config_file(cmake/mesh_fib6Config.cmake.in mesh_fib6Config.cmake
  INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/mesh_fib6ConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(
  FILES
    ${CMAKE_CURRENT_BINARY_DIR}/mesh_fib6Config.cmake
    ${CMAKE_CURRENT_BINARY_DIR}/mesh_fib6ConfigVersion.cmake
  DESTINATION ${package_dir} COMPONENT development)

install_libraries(host mesh_fib6HostTargets tolvimesh osal_host memory_host)
install_headers(host host/mesh_host.h host/osal_host.h host/memory_host.h)
install_targets_file(host mesh_fib6HostTargets)
install_pkgconfig(host mesh_fib6_host)

add_custom_target(uninstall
  COMMAND ${CMAKE_COMMAND} -DBUILD=${CMAKE_BINARY_DIR} "-DFOLDERS=${header_dir};${package_dir}"
    -P ${CMAKE_CURRENT_LIST_DIR}/uninstall.cmake
  COMMENT "Removing what was installed last"
  VERBATIM)
