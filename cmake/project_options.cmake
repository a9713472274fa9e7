# Settings that every target of the project shares.

option(BUILD_TESTING "Build the tests and examples" ON)
option(QVS_BENCHMARKS "Build the benchmarks" OFF)
set(QVS_SANITIZE "" CACHE STRING "Sanitizers to build with, as -fsanitize= takes them")

# The two written forms of the maker's company name that the BLE API library's signature may carry.
set(QVS_PUBLISHER_NAME_1 "Plenar Systems Co., Ltd." CACHE STRING "First accepted publisher name")
set(QVS_PUBLISHER_NAME_2 "Plenar Systems Co.,Ltd." CACHE STRING "Second accepted publisher name")
foreach(name IN ITEMS QVS_PUBLISHER_NAME_1 QVS_PUBLISHER_NAME_2)
  if("${${name}}" STREQUAL "")
    message(FATAL_ERROR "${name} must not be empty")
  endif()
endforeach()

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_LINK_DEPENDS_NO_SHARED ON)

# Everything that is run stands in one folder, as it does where the product is installed.
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)
set(CMAKE_BUILD_RPATH_USE_ORIGIN ON)
set(CMAKE_INSTALL_RPATH "$ORIGIN")

# Compiler settings, carried by a target so that code from elsewhere (the test framework) does not
# get them.
add_library(qvs_options INTERFACE)
if(MSVC)
  # C4251 and C4275 are about classes of the standard library in exported ones: whoever loads these
  # libraries is built with the same compiler and run-time library. C4324 tells of padding that is
  # asked for. Functions with C linkage may throw: no /EHsc.
  target_compile_options(qvs_options INTERFACE
    /W4 /WX /permissive- /utf-8 /EHs /wd4251 /wd4275 /wd4324 /d1trimfile:${PROJECT_SOURCE_DIR}/)
else()
  # A symbol that is unique in the process would keep its library loaded for ever.
  add_compile_options($<$<CXX_COMPILER_ID:GNU>:-fno-gnu-unique>)
  # No other library's symbols take the place of ours, so a library's calls to itself may be inlined.
  add_compile_options($<$<COMPILE_LANGUAGE:CXX>:-fno-semantic-interposition>)
  # No path of the machine that built them stands in the binaries.
  add_compile_options($<$<COMPILE_LANGUAGE:CXX>:-ffile-prefix-map=${PROJECT_SOURCE_DIR}/=>
    $<$<COMPILE_LANGUAGE:CXX>:-ffile-prefix-map=${PROJECT_BINARY_DIR}/=>)
  target_compile_options(qvs_options INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wold-style-cast
    -Wnon-virtual-dtor -Woverloaded-virtual -Werror)
endif()
if(QVS_SANITIZE)
  add_compile_options(-fsanitize=${QVS_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${QVS_SANITIZE})
endif()
if(WIN32)
  add_compile_definitions(WIN32_LEAN_AND_MEAN NOMINMAX _WIN32_WINNT=0x0A00)
endif()
if(MINGW)
  # Lines and functions only: what a stack trace of a user's needs.
  add_compile_options($<$<AND:$<CONFIG:Release>,$<COMPILE_LANGUAGE:CXX>>:-g1>)
  # The run-time libraries that are not part of Windows are linked in.
  add_link_options(-static)
endif()
find_package(Threads REQUIRED)
