# What is installed, and where. Four components:
#   runtime      what stands beside a host program
#   development  what a host is built against
#   control      what tests set the radio, the simulated PC and simulated time with
#   debug        debugging information that was split off
# The package holds the first two, a second one the last.

include(CMakePackageConfigHelpers)
include(code_signing)

set(config_folder ${CMAKE_INSTALL_LIBDIR}/cmake/${PROJECT_NAME})
if(WIN32)
  set(document_folder .)
else()
  set(document_folder ${CMAKE_INSTALL_DOCDIR})
endif()

# The programs and libraries.
add_library(qvs_headers INTERFACE)
target_include_directories(qvs_headers INTERFACE $<INSTALL_INTERFACE:${QVS_INSTALL_INCLUDEDIR}>)
set_target_properties(qvs_headers PROPERTIES EXPORT_NAME headers)
set_target_properties(qvs_windows_ble PROPERTIES EXPORT_NAME module)
set_target_properties(plenar_contracts PROPERTIES EXPORT_NAME contracts)
set(libraries qvs_windows_ble plenar_base plenar_ble_api plenar_contracts qvs_headers)
if(NOT WIN32)
  list(APPEND libraries simulated_pc simulated_pc_control)
endif()
install(TARGETS ${libraries} EXPORT ${PROJECT_NAME}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime
  LIBRARY DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
install(TARGETS qvs_host RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime)
if(NOT WIN32)
  install(FILES $<TARGET_FILE:plenar_ble_api>.p7s ${QVS_TRUST_STORE}
    DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime)
endif()

# The headers, in one folder of their own.
install(DIRECTORY platform/plenar_base platform/plenar_ble_api
    companions/plenar_base/include/plenar_base
  DESTINATION ${QVS_INSTALL_INCLUDEDIR} COMPONENT development FILES_MATCHING PATTERN "*.h")
install(DIRECTORY ${PROJECT_BINARY_DIR}/companions/plenar_base/generated/plenar_base
  DESTINATION ${QVS_INSTALL_INCLUDEDIR} COMPONENT development)
# With the JSON library that the client reads payloads with.
install(DIRECTORY client/qvs_windows_ble ${QVS_JSON_INCLUDE_DIR}/nlohmann
  DESTINATION ${QVS_INSTALL_INCLUDEDIR} COMPONENT development)
install(FILES framework/service.h DESTINATION ${QVS_INSTALL_INCLUDEDIR}/framework
  COMPONENT development)
install(FILES services/implement/windows_ble/generated/windows_ble_service_ids.h
  DESTINATION ${QVS_INSTALL_INCLUDEDIR}/services/implement/windows_ble/generated
  COMPONENT development)
if(NOT WIN32)
  # Apart from the others: they must not come before a system's own headers by accident.
  install(DIRECTORY compat/non_windows/include/ DESTINATION ${QVS_INSTALL_INCLUDEDIR}/non_windows
    COMPONENT development)
endif()

# What tests set the scene with.
install(TARGETS plenar_base_control ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT control)
install(DIRECTORY companions/plenar_base/control/plenar_base_control
    companions/plenar_ble_api/control/plenar_ble_control
  DESTINATION ${QVS_INSTALL_INCLUDEDIR} COMPONENT control)
if(NOT WIN32)
  install(DIRECTORY compat/non_windows/control/ ${PROJECT_BINARY_DIR}/compat/non_windows/export/
    DESTINATION ${QVS_INSTALL_INCLUDEDIR} COMPONENT control)
endif()

# How CMake and pkg-config find all that.
install(EXPORT ${PROJECT_NAME} NAMESPACE ${PROJECT_NAME}:: FILE ${PROJECT_NAME}-targets.cmake
  DESTINATION ${config_folder} COMPONENT development)
configure_package_config_file(cmake/package_config.cmake.in package/${PROJECT_NAME}-config.cmake
  INSTALL_DESTINATION ${config_folder} NO_SET_AND_CHECK_MACRO NO_CHECK_REQUIRED_COMPONENTS_MACRO)
write_basic_package_version_file(package/${PROJECT_NAME}-config-version.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/package/${PROJECT_NAME}-config.cmake
    ${PROJECT_BINARY_DIR}/package/${PROJECT_NAME}-config-version.cmake
  DESTINATION ${config_folder} COMPONENT development)
if(WIN32)
  set(link_libraries -lplenar_base)
  set(more_includes "")
else()
  set(link_libraries "-lplenar_base -lsimulated_pc")
  set(more_includes "-I\${includedir}/non_windows")
endif()
configure_file(cmake/package.pc.in package/${PROJECT_NAME}.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/package/${PROJECT_NAME}.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)

# The documents, with what they link to in the same place.
if(WIN32)
  install(FILES docs/windows_package.md DESTINATION ${document_folder} RENAME README.md
    COMPONENT development)
else()
  install(FILES README.md DESTINATION ${document_folder} COMPONENT development)
endif()
install(FILES THIRD_PARTY_NOTICES.md DESTINATION ${document_folder} COMPONENT runtime)
install(DIRECTORY docs DESTINATION ${document_folder} COMPONENT development
  PATTERN windows_package.md EXCLUDE)
install(DIRECTORY examples DESTINATION ${document_folder} COMPONENT development
  FILES_MATCHING PATTERN "*.cpp" PATTERN package/CMakeLists.txt)

# The zips.
set(CPACK_GENERATOR ZIP)
set(CPACK_PACKAGE_VENDOR ${QVS_PUBLISHER_NAME_1})
set(CPACK_PACKAGE_FILE_NAME
  ${PROJECT_NAME}-${PROJECT_VERSION}-${CMAKE_SYSTEM_NAME}-${CMAKE_SYSTEM_PROCESSOR})
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_ARCHIVE_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL runtime development)
set(CPACK_COMPONENT_RUNTIME_GROUP product)
set(CPACK_COMPONENT_DEVELOPMENT_GROUP product)
set(CPACK_ARCHIVE_PRODUCT_FILE_NAME ${CPACK_PACKAGE_FILE_NAME})
if(MINGW)
  list(APPEND CPACK_COMPONENTS_ALL debug)
  set(CPACK_COMPONENT_DEBUG_GROUP debug)
  set(CPACK_ARCHIVE_DEBUG_FILE_NAME ${CPACK_PACKAGE_FILE_NAME}-debug)
endif()
set(QVS_PACKAGE_FILE ${PROJECT_BINARY_DIR}/${CPACK_PACKAGE_FILE_NAME}.zip)
include(CPack)

add_custom_target(package_zip
  COMMAND ${CMAKE_CPACK_COMMAND} --config ${PROJECT_BINARY_DIR}/CPackConfig.cmake
  WORKING_DIRECTORY ${PROJECT_BINARY_DIR}
  COMMENT "Making ${QVS_PACKAGE_FILE}"
  VERBATIM)
add_dependencies(package_zip qvs_windows_ble plenar_base plenar_base_control plenar_ble_api qvs_host)
