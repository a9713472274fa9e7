# Install rules that belong to no one target, and the package: everything that is installed, in a zip.
install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs/ DESTINATION doc COMPONENT development)

set(CPACK_GENERATOR ZIP)
set(CPACK_PACKAGE_VENDOR ${QVS_PUBLISHER_NAME_1})
set(CPACK_PACKAGE_FILE_NAME
  ${PROJECT_NAME}-${PROJECT_VERSION}-${CMAKE_SYSTEM_NAME}-${CMAKE_SYSTEM_PROCESSOR})
set(CPACK_VERBATIM_VARIABLES ON)
set(QVS_PACKAGE_FILE ${PROJECT_BINARY_DIR}/${CPACK_PACKAGE_FILE_NAME}.zip)
include(CPack)

add_custom_target(package_zip
  COMMAND ${CMAKE_CPACK_COMMAND} --config ${PROJECT_BINARY_DIR}/CPackConfig.cmake
  WORKING_DIRECTORY ${PROJECT_BINARY_DIR}
  COMMENT "Making ${QVS_PACKAGE_FILE}"
  VERBATIM)
add_dependencies(package_zip qvs_windows_ble plenar_base plenar_ble_api qvs_host)
