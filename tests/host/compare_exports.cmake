# Fails when a library exports anything but the listed names.
execute_process(COMMAND ${NM} -D --defined-only --format=posix ${LIBRARY}
  OUTPUT_VARIABLE listing RESULT_VARIABLE failed)
if(failed)
  message(FATAL_ERROR "${NM} cannot read ${LIBRARY}")
endif()
string(REGEX MATCHALL "[^\n]+" lines "${listing}")
list(TRANSFORM lines REPLACE " .*" "")
# What a sanitizer adds to every library is not the library's.
list(FILTER lines EXCLUDE REGEX "^(__asan|__odr_asan|__ubsan|__tsan|__gcov|__start_|__stop_)")
list(SORT lines)
file(STRINGS ${EXPECTED} expected)
if(NOT lines STREQUAL expected)
  message(FATAL_ERROR "${LIBRARY} exports\n  ${lines}\nexpected\n  ${expected}")
endif()
