# Fails unless every symbol the shared library defines for the dynamic linker
# belongs to the public API (namespace zeb::plexa).
#   cmake -DLIBRARY=.../libzebplexa.so -DNM=nm -P exported_symbols.cmake
execute_process(COMMAND "${NM}" -D --defined-only --demangle "${LIBRARY}"
  OUTPUT_VARIABLE listing COMMAND_ERROR_IS_FATAL ANY)
string(REPLACE "\n" ";" lines "${listing}")
set(count 0)
set(foreign "")
foreach(line IN LISTS lines)
  if(NOT line MATCHES "^[0-9a-fA-F]* ([A-Za-z]) (.*)$")
    continue()
  endif()
  set(kind "${CMAKE_MATCH_1}")
  set(name "${CMAKE_MATCH_2}")
  # Absolute symbols (A) are the linker's section markers, not code or data.
  if(kind STREQUAL "A")
    continue()
  endif()
  # Class metadata (vtables, type information) is public when its class is.
  string(REGEX REPLACE "^(vtable|typeinfo|typeinfo name|VTT|construction vtable|guard variable) for " "" owner "${name}")
  if(owner MATCHES "^zeb::plexa::")
    math(EXPR count "${count} + 1")
  else()
    string(APPEND foreign "\n  ${kind} ${name}")
  endif()
endforeach()
if(foreign)
  message(FATAL_ERROR "symbols outside zeb::plexa exported from ${LIBRARY}:${foreign}")
endif()
if(count EQUAL 0)
  message(FATAL_ERROR "no zeb::plexa symbol exported from ${LIBRARY}")
endif()
message(STATUS "${count} exported symbols, all in zeb::plexa")
