# Checks which folder includes which, and that no platform is told apart in the sources of the module
# and its contracts. Run: cmake -D ROOT=<source tree> -P check_layering.cmake

cmake_minimum_required(VERSION 3.25)

# Rooms, the innermost first: a file belongs to the first one that its path begins with.
set(rooms
  platform
  framework
  services/implement/windows_ble/generated
  services/implement/windows_ble/src/windows
  services/implement/windows_ble/src
  companions/plenar_base/include
  companions/plenar_base/control
  companions/plenar_base
  companions/plenar_ble_api/control
  companions/plenar_ble_api
  compat/non_windows/control
  compat/non_windows
  compat/windows_bluetooth/control
  compat/windows_bluetooth
  client
  host)

# What files of a room may include besides their own room: rooms or single files.
set(platform_may)
set(framework_may platform)
set(services/implement/windows_ble/generated_may framework platform)
set(services/implement/windows_ble/src/windows_may
  framework/guard.h framework/log_writer.h framework/main_looper.h framework/process_end.h platform
  services/implement/windows_ble/generated/windows_ble_service_ids.h)
set(services/implement/windows_ble/src_may
  framework platform services/implement/windows_ble/generated
  services/implement/windows_ble/src/windows)
set(companions/plenar_base/include_may platform)
set(companions/plenar_base/control_may platform companions/plenar_base/include)
set(companions/plenar_base_may platform companions/plenar_base/include)
set(companions/plenar_ble_api/control_may platform)
set(companions/plenar_ble_api_may platform companions/plenar_ble_api/control)
set(compat/non_windows/control_may)
set(compat/non_windows_may compat/non_windows/control)
set(compat/windows_bluetooth/control_may)
set(compat/windows_bluetooth_may
  compat/windows_bluetooth/control companions/plenar_ble_api/system/bluetooth_classes.h
  companions/plenar_ble_api/system/com.h)
set(client_may
  platform framework/service.h
  services/implement/windows_ble/generated/windows_ble_service_ids.h companions/plenar_base/include)
set(host_may
  platform client companions/plenar_base/include companions/plenar_base/control
  companions/plenar_ble_api/control compat/non_windows/control)

# Where an included name may be found.
set(include_roots
  . platform companions/plenar_base/include companions/plenar_base/control companions/plenar_ble_api/control
  compat/non_windows/control compat/windows_bluetooth/control companions/plenar_ble_api client)

set(platform_macro
  "_WIN32|_WIN64|WIN32|_MSC_VER|__MINGW|__CYGWIN__|__linux|__unix|__APPLE__|_POSIX|NTDDI_|_WIN32_WINNT")
set(without_platform_macros platform framework services)

function(room_of file result)
  foreach(room IN LISTS rooms)
    if(file MATCHES "^${room}/")
      set(${result} ${room} PARENT_SCOPE)
      return()
    endif()
  endforeach()
  set(${result} "" PARENT_SCOPE)
endfunction()

# The path, from the root, of one of our files that an include names; empty for any other.
function(resolve including_folder name result)
  foreach(root IN ITEMS ${including_folder} ${include_roots})
    if(EXISTS ${ROOT}/${root}/${name} AND NOT IS_DIRECTORY ${ROOT}/${root}/${name})
      cmake_path(SET path NORMALIZE ${root}/${name})
      set(${result} ${path} PARENT_SCOPE)
      return()
    endif()
  endforeach()
  set(${result} "" PARENT_SCOPE)
endfunction()

set(faults 0)
set(includes 0)
foreach(top IN ITEMS platform framework services companions compat client host)
  file(GLOB_RECURSE files RELATIVE ${ROOT} ${ROOT}/${top}/*.h ${ROOT}/${top}/*.cpp)
  foreach(file IN LISTS files)
    room_of(${file} room)
    cmake_path(GET file PARENT_PATH folder)

    file(STRINGS ${ROOT}/${file} lines REGEX "^[ \t]*#[ \t]*include[ \t]")
    foreach(line IN LISTS lines)
      string(REGEX REPLACE ".*[<\"]([^>\"]*)[>\"].*" "\\1" name "${line}")
      resolve("${folder}" "${name}" target)
      if(target STREQUAL "")
        continue()
      endif()
      math(EXPR includes "${includes} + 1")
      room_of(${target} target_room)
      set(allowed FALSE)
      foreach(prefix IN ITEMS ${room} ${${room}_may})
        if(target STREQUAL prefix OR target_room STREQUAL prefix)
          set(allowed TRUE)
        endif()
      endforeach()
      if(NOT allowed)
        message(SEND_ERROR "${file}: must not include ${target}")
        math(EXPR faults "${faults} + 1")
      endif()
    endforeach()

    if(top IN_LIST without_platform_macros)
      file(STRINGS ${ROOT}/${file} lines
        REGEX "^[ \t]*#[ \t]*(if|ifdef|ifndef|elif)[ \t(!].*(${platform_macro})")
      if(lines)
        message(SEND_ERROR "${file}: tells platforms apart: ${lines}")
        math(EXPR faults "${faults} + 1")
      endif()
    endif()
  endforeach()
endforeach()

if(includes EQUAL 0)
  message(SEND_ERROR "no include of ours was found below ${ROOT}")
endif()
message(STATUS "${includes} includes checked, ${faults} faults")
