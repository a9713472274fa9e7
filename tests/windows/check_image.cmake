# Checks what a built file offers, and that it needs nothing but Windows and the base library.
#   cmake -D FILE=<file> -D OBJDUMP=<program> -D EXPORTS=<names> -P check_image.cmake
cmake_minimum_required(VERSION 3.25)

execute_process(COMMAND ${OBJDUMP} -p ${FILE} OUTPUT_VARIABLE text COMMAND_ERROR_IS_FATAL ANY)

string(REGEX MATCHALL "\t\\[ *[0-9]+\\] [A-Za-z_][A-Za-z_0-9]*" exports "${text}")
list(TRANSFORM exports REPLACE ".* " "")
if(DEFINED EXPORTS AND NOT exports STREQUAL EXPORTS)
  message(SEND_ERROR "exports ${exports}")
endif()

string(REGEX MATCHALL "DLL Name: [^\n]*" imports "${text}")
if(NOT imports)
  message(SEND_ERROR "nothing is imported")
endif()
foreach(import IN LISTS imports)
  # The compiler's own run-time libraries are named lib....
  if(import MATCHES "DLL Name: lib" OR (import MATCHES "plenar|qvs" AND NOT import MATCHES "plenar_base.dll"))
    message(SEND_ERROR "needs ${import}")
  endif()
endforeach()
