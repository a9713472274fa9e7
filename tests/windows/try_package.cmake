# Unpacks the package in a new place and runs the demo there.
#   cmake -D ZIP=<file> -D FOLDER=<where to> "-D EMULATOR=<command>" -P try_package.cmake
cmake_minimum_required(VERSION 3.25)

file(REMOVE_RECURSE ${FOLDER})
file(ARCHIVE_EXTRACT INPUT ${ZIP} DESTINATION ${FOLDER})

foreach(file IN ITEMS bin/qvs_windows_ble.dll bin/plenar_base.dll bin/plenar_ble_api.dll
    include/qvs_windows_ble/framework/service.h include/qvs_windows_ble/plenar_base/variant.h
    docs/host-integration.md)
  if(NOT EXISTS ${FOLDER}/${file})
    message(SEND_ERROR "${file} is not in the package")
  endif()
endforeach()

execute_process(COMMAND ${EMULATOR} ${FOLDER}/bin/qvs_host.exe demo RESULT_VARIABLE result)
if(NOT result EQUAL 0)
  message(SEND_ERROR "the unpacked demo ended with ${result}")
endif()
file(REMOVE_RECURSE ${FOLDER})
