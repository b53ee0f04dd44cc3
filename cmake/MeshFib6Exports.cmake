# The linker's version script, made from the greppable list of exports.

set(MESH_FIB6_VERSION_SCRIPT ${CMAKE_BINARY_DIR}/exports.map)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/abi/exports.txt)
file(STRINGS ${CMAKE_SOURCE_DIR}/abi/exports.txt names)
set(globals "")
foreach(name IN LISTS names)
  string(APPEND globals "    ${name};\n")
endforeach()
set(script "{\n  global:\n${globals}  local:\n    *;\n};\n")
# Written only when it changes: the library is linked again when it does.
set(current "")
if(EXISTS ${MESH_FIB6_VERSION_SCRIPT})
  file(READ ${MESH_FIB6_VERSION_SCRIPT} current)
endif()
if(NOT current STREQUAL script)
  file(WRITE ${MESH_FIB6_VERSION_SCRIPT} "${script}")
endif()
