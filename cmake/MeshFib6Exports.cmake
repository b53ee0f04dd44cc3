# Version scripts of the linker: a shared library exports what is listed and nothing else.

# mesh_fib6_version_script(TARGET SCRIPT FILE): links TARGET with the text SCRIPT, which comes from FILE.
function(mesh_fib6_version_script target script file)
  # On its way to the linker the path passes a shell and a compiler that splits it at commas: told from
  # the folder that the linker is started in, it is made of plain names wherever the build is.
  set(started_in ${CMAKE_CURRENT_BINARY_DIR})
  if(CMAKE_GENERATOR MATCHES Ninja)
    set(started_in ${CMAKE_BINARY_DIR})
  endif()
  set(map CMakeFiles/${target}.map)
  # Written only when it changes: the library is linked again when it does.
  file(CONFIGURE OUTPUT ${started_in}/${map} CONTENT "${script}" @ONLY)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${file})
  set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${started_in}/${map})
  target_link_options(${target} PRIVATE LINKER:--version-script=${map})
endfunction()

# mesh_fib6_export_names(TARGET LIST): from a file of names, one a line, which is good to grep.
function(mesh_fib6_export_names target list)
  set(list ${CMAKE_CURRENT_SOURCE_DIR}/${list})
  file(STRINGS ${list} names)
  set(globals "")
  foreach(name IN LISTS names)
    string(APPEND globals "    ${name};\n")
  endforeach()
  mesh_fib6_version_script(${target} "{\n  global:\n${globals}  local:\n    *;\n};\n" ${list})
endfunction()

# mesh_fib6_export_map(TARGET FILE): from a version script.
function(mesh_fib6_export_map target file)
  set(file ${CMAKE_CURRENT_SOURCE_DIR}/${file})
  file(READ ${file} script)
  mesh_fib6_version_script(${target} "${script}" ${file})
endfunction()
