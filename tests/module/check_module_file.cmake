# Checks what the module shows and needs, as any tool sees it from outside.
#   cmake -D MODULE=<file> -D NM=<program> -D READELF=<program> -P check_module_file.cmake
cmake_minimum_required(VERSION 3.25)

execute_process(COMMAND ${NM} -D --defined-only --format=just-symbols ${MODULE}
  OUTPUT_VARIABLE exports OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
if(NOT exports STREQUAL "QVCreateService\nQVDestroyService")
  message(SEND_ERROR "exports:\n${exports}")
endif()

execute_process(COMMAND ${READELF} -d ${MODULE} OUTPUT_VARIABLE entries COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCHALL "\\(NEEDED\\)[^\n]*" needed "${entries}")
if(NOT needed MATCHES "libplenar_base\\.so")
  message(SEND_ERROR "does not need the base library")
endif()
foreach(entry IN LISTS needed)
  if(NOT entry MATCHES
      "\\[(lib(plenar_base|simulated_pc)\\.so|lib(stdc\\+\\+|m|gcc_s|c|asan|ubsan|tsan)\\.so\\..*|ld-linux.*)\\]")
    message(SEND_ERROR "needs ${entry}")
  endif()
endforeach()
