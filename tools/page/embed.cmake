# Makes a C++ source of the pages: cmake -DFOLDER=... -DOUTPUT=... -P embed.cmake
set(source "// Made from what is in page/.\n#include <string_view>\n\nnamespace mesh_fib6::tools {\n")
foreach(file message.html catalogue.html map.css dissector.lua table.hexpat)
  file(READ ${FOLDER}/${file} bytes HEX)
  cmake_path(GET file STEM page)
  string(LENGTH "${bytes}" digits)
  math(EXPR size "${digits} / 2")
  string(REGEX REPLACE "(................................)" "\\1\n" bytes "${bytes}")
  string(REGEX REPLACE "([0-9a-f][0-9a-f])" "'\\\\x\\1'," bytes "${bytes}")
  string(APPEND source "namespace {\nconstexpr char ${page}_bytes[] = {\n${bytes}};\n}\n"
    "extern const std::string_view ${page}_page;\n"
    "const std::string_view ${page}_page(${page}_bytes, ${size});\n")
endforeach()
string(APPEND source "} // namespace mesh_fib6::tools\n")
file(WRITE ${OUTPUT} "${source}")
