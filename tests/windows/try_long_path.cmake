# A program whose path is longer than Windows shows to it does not load what stands beside it unsigned,
# though the folder at which its path is cut off has a library that is signed as it must be.
#   cmake -D BIN=<programs> -D UNSIGNED=<library> -D FOLDER=<where to> "-D EMULATOR=<command>"
#         -P try_long_path.cmake
cmake_minimum_required(VERSION 3.25)

cmake_path(GET UNSIGNED FILENAME library)
string(REPEAT a 240 long_name)
file(REMOVE_RECURSE ${FOLDER})
foreach(file IN ITEMS qvs_host.exe qvs_windows_ble.dll plenar_base.dll bthprops.cpl)
  file(COPY ${BIN}/${file} DESTINATION ${FOLDER}/${long_name})
endforeach()
file(COPY ${BIN}/${library} DESTINATION ${FOLDER})
file(COPY ${UNSIGNED} DESTINATION ${FOLDER}/${long_name})

execute_process(COMMAND ${EMULATOR} ${FOLDER}/${long_name}/qvs_host.exe --log-level 6 state
  OUTPUT_VARIABLE log ERROR_VARIABLE log RESULT_VARIABLE result)
if(NOT result EQUAL 1 OR NOT log MATCHES "dll signature is illegal")
  message(SEND_ERROR "it ended with ${result}:\n${log}")
endif()
file(REMOVE_RECURSE ${FOLDER})
