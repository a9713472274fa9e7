# What every DLL and program for Windows carries: its version, and its debugging information in a file
# beside it (<file>.debug). Does nothing elsewhere.

# qvs_windows_binary(<target> <file name> <description> [MANIFEST])
# With MANIFEST the program says that it knows Windows 10 and takes narrow texts for UTF-8.
# To be called before the target is signed.
function(qvs_windows_binary target file_name description)
  if(NOT WIN32)
    return()
  endif()
  set(type VFT_DLL)
  set(manifest "")
  if(ARGN STREQUAL MANIFEST)
    set(type VFT_APP)
    set(manifest "1 24 \"${PROJECT_SOURCE_DIR}/cmake/program.manifest\"")
  endif()
  set(resource ${CMAKE_CURRENT_BINARY_DIR}/${target}.rc)
  configure_file(${PROJECT_SOURCE_DIR}/cmake/version.rc.in ${resource} @ONLY)
  target_sources(${target} PRIVATE ${resource})

  if(MINGW)
    add_custom_command(TARGET ${target} POST_BUILD
      COMMAND ${CMAKE_OBJCOPY} --only-keep-debug $<TARGET_FILE:${target}> $<TARGET_FILE:${target}>.debug
      COMMAND ${CMAKE_STRIP} $<TARGET_FILE:${target}>
      COMMAND ${CMAKE_OBJCOPY} --add-gnu-debuglink=$<TARGET_FILE:${target}>.debug $<TARGET_FILE:${target}>
      VERBATIM)
    install(FILES $<TARGET_FILE:${target}>.debug DESTINATION ${CMAKE_INSTALL_BINDIR}
      COMPONENT debug)
  endif()
endfunction()
