# Names of folders that cannot be built in, refused before anything fails on them less clearly.
#
# Blanks, quotes ('), dollars, parentheses and nearly all else is fine. What is not: CMake takes " and
# \ for its own quoting and ; for the end of a word, [ and ] hide the ; between two words, # ends a
# definition, < and > are of generator expressions. Ninja and make take : and | for their own, and a
# run path ends at a colon, a linker's option at a comma.

foreach(role SOURCE BINARY)
  set(folder "${CMAKE_CURRENT_${role}_DIR}")
  string(REGEX MATCH "[][\"#,:;\\|<>\n]" character "${folder}")
  if(NOT character STREQUAL "")
    if(role STREQUAL SOURCE)
      set(role "the sources")
    else()
      set(role "the build")
    endif()
    message(FATAL_ERROR "mesh_fib6: the path of ${role} has a character that CMake, its generators or "
      "the linker cannot cope with: ${character}\n  ${folder}\nUse a folder without any of "
      "\" # , : ; < > [ \\ ] and |.")
  endif()
endforeach()
