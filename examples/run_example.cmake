# Fails unless the example shows a device that the host program advertises at the same time.
#   cmake -D EXAMPLE=<program> -D HOST=<program> "-D EMULATOR=<command>" -P run_example.cmake
execute_process(
  COMMAND ${EMULATOR} ${HOST} advertise --uuid 0a1b2c3d-0a1b-2c3d-4e5f-0a1b2c3d4e5f --data 7bytes. --for 6
  COMMAND ${EMULATOR} ${EXAMPLE}
  OUTPUT_VARIABLE output RESULT_VARIABLE result)
if(NOT result EQUAL 0 OR NOT output MATCHES " -[0-9]+ dBm, 7 bytes of data\r?\n")
  message(FATAL_ERROR "the example ended with ${result} and wrote: ${output}")
endif()
