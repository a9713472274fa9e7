# Unpacks the package in a new place and runs the demo there.
#   cmake -D ZIP=<file> -D FOLDER=<where to> "-D EMULATOR=<command>" -P try_package.cmake
cmake_minimum_required(VERSION 3.25)

file(REMOVE_RECURSE ${FOLDER})
file(ARCHIVE_EXTRACT INPUT ${ZIP} DESTINATION ${FOLDER})

foreach(pattern IN ITEMS bin/qvs_windows_ble.dll bin/plenar_base.dll bin/plenar_ble_api.dll
    include/framework/service.h include/plenar_base/variant.h doc/host-integration.md)
  file(GLOB found ${FOLDER}/*/${pattern})
  if(NOT found)
    message(SEND_ERROR "${pattern} is not in the package")
  endif()
endforeach()

file(GLOB program ${FOLDER}/*/bin/qvs_host.exe)
execute_process(COMMAND ${EMULATOR} ${program} demo RESULT_VARIABLE result)
if(NOT result EQUAL 0)
  message(SEND_ERROR "the unpacked demo ended with ${result}")
endif()
file(REMOVE_RECURSE ${FOLDER})
