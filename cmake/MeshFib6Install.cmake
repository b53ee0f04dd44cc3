# What `cmake --install` puts where, and how others find it there.
#
# A device takes the component `runtime`; who builds programs for it adds `development`; `schemas`,
# `documentation` and `examples` are for people, `python` is for their scripts. All that needs nothing
# built but the library. `tools` is for whoever looks into messages: of it is installed what is built.
# `host` holds the stand-ins of the platform, which on a device would stand in
# the platform's way: it is installed only when it is named.

include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/mesh_fib6)
set(pkgconfig_dir ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
set(data_dir ${CMAKE_INSTALL_DATADIR}/mesh_fib6)
# The parent of this project has another CMAKE_INSTALL_DOCDIR.
set(doc_dir ${CMAKE_INSTALL_DATAROOTDIR}/doc/mesh_fib6)

# Debian's Python looks there below /usr; elsewhere PYTHONPATH names it.
set(MESH_FIB6_INSTALL_PYTHONDIR lib/python3/dist-packages CACHE STRING
  "Where the Python package is installed, told from the prefix")
# A package for all processors cannot know the folder of the library, which is named after one.
option(MESH_FIB6_PYTHON_BESIDE "Let the installed Python package look for the library in its own tree first" ON)

# Beside those of a parent, components carry the project's name.
set(component_prefix "")
if(NOT PROJECT_IS_TOP_LEVEL)
  set(component_prefix mesh_fib6_)
endif()

# Beside the library its neighbour is found at a prefix that the loader does not search, and nothing
# changes at one that it does. -DCMAKE_INSTALL_RPATH= leaves the entry out.
if(NOT DEFINED CMAKE_INSTALL_RPATH)
  set_target_properties(mesh_fib6 PROPERTIES INSTALL_RPATH "\$ORIGIN")
endif()

# install_component(COMPONENT TARGETS|FILES|EXPORT ...): as install() has it.
function(install_component component)
  set(choice COMPONENT ${component_prefix}${component})
  if(component STREQUAL host)
    list(APPEND choice EXCLUDE_FROM_ALL)
  endif()
  install(${ARGN} ${choice})
endfunction()

# install_libraries(COMPONENT EXPORT target...): shared libraries that others link.
function(install_libraries component export)
  install_component(${component} TARGETS ${ARGN} EXPORT ${export}
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
endfunction()

# install_headers(COMPONENT header...): where they are looked for.
function(install_headers component)
  foreach(header IN LISTS ARGN)
    mesh_fib6_header_path(${header} path)
    cmake_path(GET path PARENT_PATH folder)
    install_component(${component} FILES ${header} DESTINATION ${MESH_FIB6_HEADER_DIR}/${folder})
  endforeach()
endfunction()

# install_folder(COMPONENT FOLDER DESTINATION pattern...): the files in it that match a pattern.
function(install_folder component folder destination)
  list(TRANSFORM ARGN PREPEND "PATTERN;" OUTPUT_VARIABLE patterns)
  install(DIRECTORY ${folder} DESTINATION ${destination} COMPONENT ${component_prefix}${component}
    FILES_MATCHING ${patterns}
    PATTERN __pycache__ EXCLUDE # what Python leaves beside its sources; an empty folder otherwise
    PATTERN docs/site EXCLUDE)
endfunction()

# install_targets_file(COMPONENT EXPORT): the imported targets, for mesh_fib6Config.cmake.
function(install_targets_file component export)
  install_component(${component} EXPORT ${export} NAMESPACE mesh_fib6:: DESTINATION ${package_dir})
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
  install_component(${component} FILES ${CMAKE_CURRENT_BINARY_DIR}/${name}.pc
    DESTINATION ${pkgconfig_dir})
endfunction()

install_libraries(runtime mesh_fib6Targets mesh_fib6)

install_headers(development ${MESH_FIB6_PUBLIC_HEADERS})
install_component(development FILES ${MESH_FIB6_VERSION_HEADER}
  DESTINATION ${MESH_FIB6_HEADER_DIR}/mesh_fib6)
install_targets_file(development mesh_fib6Targets)
install_pkgconfig(development mesh_fib6)
configure_package_config_file(cmake/mesh_fib6Config.cmake.in mesh_fib6Config.cmake
  INSTALL_DESTINATION ${package_dir})
# Before 1.0 a minor version may change what it likes.
set(compatibility SameMajorVersion)
if(PROJECT_VERSION_MAJOR EQUAL 0)
  set(compatibility SameMinorVersion)
endif()
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/mesh_fib6ConfigVersion.cmake
  COMPATIBILITY ${compatibility})
install_component(development
  FILES
    ${CMAKE_CURRENT_BINARY_DIR}/mesh_fib6Config.cmake
    ${CMAKE_CURRENT_BINARY_DIR}/mesh_fib6ConfigVersion.cmake
  DESTINATION ${package_dir})

install_folder(schemas schemas ${data_dir} *.fbs)
install_component(documentation FILES README.md CHANGELOG.md DESTINATION ${doc_dir})
install_folder(documentation docs ${doc_dir} *.md *.svg *.png *.html)
# To be built where they lie, or copied.
install_folder(examples examples ${doc_dir} *.c *.cpp *.py *.md CMakeLists.txt)
install_folder(examples demo ${doc_dir} *.cpp *.h *.md *.gz CMakeLists.txt)

# The Python package, and the way from it to the library, so that the tree can be moved.
set(python_dir ${MESH_FIB6_INSTALL_PYTHONDIR}/mesh_fib6)
if(NOT MESH_FIB6_PYTHON_BESIDE)
  set(library_from_python "")
elseif(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}") # there is none
  set(library_from_python ${CMAKE_INSTALL_LIBDIR}/libmesh_fib6.so)
else()
  cmake_path(SET library_from_python /${CMAKE_INSTALL_LIBDIR}/libmesh_fib6.so)
  cmake_path(RELATIVE_PATH library_from_python BASE_DIRECTORY /${python_dir})
endif()
configure_file(cmake/python_installed.py.in python_installed.py @ONLY)
install_folder(python python/mesh_fib6 ${MESH_FIB6_INSTALL_PYTHONDIR} *.py *.pyi py.typed)
install_component(python FILES ${CMAKE_CURRENT_BINARY_DIR}/python_installed.py
  DESTINATION ${python_dir} RENAME _installed.py)
install_component(python FILES python/README.md DESTINATION ${doc_dir}/python)

# The tool, and what it has made (tools/CMakeLists.txt).
if(MESH_FIB6_TOOLS)
  install_component(tools TARGETS mesh_fib6_tool OPTIONAL RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
  install_component(tools TARGETS mesh_fib6_tap OPTIONAL LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
  set(made ${PROJECT_BINARY_DIR}/tools/made)
  set(share ${CMAKE_INSTALL_DATADIR})
  install_component(tools FILES ${made}/mesh_fib6.lua DESTINATION ${data_dir}/wireshark OPTIONAL)
  install_component(tools FILES ${made}/mesh-fib6.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 OPTIONAL)
  install_component(tools FILES ${made}/mesh-fib6.bash OPTIONAL
    DESTINATION ${share}/bash-completion/completions RENAME mesh-fib6)
  install_component(tools FILES ${made}/_mesh-fib6 DESTINATION ${share}/zsh/site-functions OPTIONAL)
  install_component(tools FILES ${made}/mesh-fib6.fish DESTINATION ${share}/fish/vendor_completions.d OPTIONAL)
endif()

if(MESH_FIB6_HOST)
  install_libraries(host mesh_fib6HostTargets
    mesh_fib6_tolvimesh mesh_fib6_osal_host mesh_fib6_memory_host)
  # Loaded, not linked.
  if(MESH_FIB6_HOST_NATS)
    install_component(host TARGETS mesh_fib6_mesh_host_nats LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
  endif()
  install_headers(host ${MESH_FIB6_HOST_HEADERS})
  install_targets_file(host mesh_fib6HostTargets)
  install_pkgconfig(host mesh_fib6_host)
endif()

if(PROJECT_IS_TOP_LEVEL)
  add_custom_target(uninstall
    COMMAND ${CMAKE_COMMAND} -DBUILD=${PROJECT_BINARY_DIR}
      "-DFOLDERS=${MESH_FIB6_HEADER_DIR}/mesh_fib6;${package_dir};${data_dir};${doc_dir};${python_dir}"
      -P ${CMAKE_CURRENT_LIST_DIR}/uninstall.cmake
    COMMENT "Removing what was installed last"
    VERBATIM)
endif()
