# The linker's version script, made from the greppable list of exports.

set(MESH_FIB6_VERSION_SCRIPT ${CMAKE_BINARY_DIR}/exports.map)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/abi/exports.txt)
file(STRINGS ${CMAKE_SOURCE_DIR}/abi/exports.txt exports)
list(JOIN exports "\;\n    " exports)
file(CONFIGURE OUTPUT ${MESH_FIB6_VERSION_SCRIPT} @ONLY CONTENT
"{
  global:
    @exports@\;
  local:
    *\;
}\;
")
