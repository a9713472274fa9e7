# Signing for development: a throw-away certificate authority and a code-signing certificate of the
# maker's name, made at build time. Their keys stay in the build tree; the authority's is deleted
# at once.
include_guard()

find_program(OPENSSL_PROGRAM openssl REQUIRED)
if(WIN32)
  find_program(OSSLSIGNCODE_PROGRAM osslsigncode REQUIRED)
  set(QVS_SIGNATURE embedded)
else()
  set(QVS_SIGNATURE detached)
endif()

set(QVS_SIGNING_SCRIPTS ${CMAKE_CURRENT_LIST_DIR})
set(QVS_SIGNING_IDENTITY ${PROJECT_BINARY_DIR}/signing)
set(QVS_TRUST_STORE ${PROJECT_BINARY_DIR}/bin/plenar_trust.pem)

# Adds the target qvs_signing_identity, which makes the certificates in QVS_SIGNING_IDENTITY and
# the trust store that the base library reads.
function(qvs_add_signing_identity)
  if(TARGET qvs_signing_identity)
    return()
  endif()
  # Another name, or another way of making it, needs another certificate.
  set(name_file ${PROJECT_BINARY_DIR}/signing_name.txt)
  file(CONFIGURE OUTPUT ${name_file} CONTENT "@QVS_PUBLISHER_NAME_1@" @ONLY)
  add_custom_command(
    OUTPUT ${QVS_SIGNING_IDENTITY}/signer.pem ${QVS_SIGNING_IDENTITY}/signer.key ${QVS_TRUST_STORE}
    COMMAND ${CMAKE_COMMAND} -D FOLDER=${QVS_SIGNING_IDENTITY} -D NAME_FILE=${name_file}
      -P ${QVS_SIGNING_SCRIPTS}/make_signing_identity.cmake
    COMMAND ${CMAKE_COMMAND} -E copy ${QVS_SIGNING_IDENTITY}/authority.pem ${QVS_TRUST_STORE}
    DEPENDS ${name_file} ${QVS_SIGNING_SCRIPTS}/make_signing_identity.cmake
    COMMENT "Making a throw-away signing certificate"
    VERBATIM)
  add_custom_target(qvs_signing_identity DEPENDS ${QVS_SIGNING_IDENTITY}/signer.pem)
endfunction()

# qvs_sign_library(<target>)
# Signs a library each time it has been linked: off Windows beside it in <file>.p7s, on Windows in
# the file itself.
function(qvs_sign_library target)
  qvs_add_signing_identity()
  add_dependencies(${target} qvs_signing_identity)
  set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${QVS_SIGNING_IDENTITY}/signer.pem)
  # What is signed is what gets installed: installing must not edit the file's run path.
  set_target_properties(${target} PROPERTIES BUILD_WITH_INSTALL_RPATH ON)

  add_custom_command(TARGET ${target} POST_BUILD
    COMMAND ${CMAKE_COMMAND} -D FOLDER=${QVS_SIGNING_IDENTITY} -D FILE=$<TARGET_FILE:${target}>
      -D SIGNATURE=${QVS_SIGNATURE} -P ${QVS_SIGNING_SCRIPTS}/sign_file.cmake
    VERBATIM)
endfunction()
