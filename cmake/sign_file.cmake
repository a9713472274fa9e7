# Signs a file with what make_signing_identity.cmake made.
#   cmake -D FOLDER=<its folder> -D FILE=<file> -D SIGNATURE=<detached|embedded> -P sign_file.cmake
# A detached signature goes to <file>.p7s, an embedded one into the file (a Windows program).
cmake_minimum_required(VERSION 3.25)

set(certificate ${FOLDER}/signer.pem)
set(key ${FOLDER}/signer.key)
if(SIGNATURE STREQUAL "detached")
  execute_process(
    COMMAND openssl cms -sign -binary -md sha256 -in ${FILE} -signer ${certificate} -inkey ${key}
      -outform DER -out ${FILE}.p7s
    COMMAND_ERROR_IS_FATAL ANY)
else()
  file(REMOVE ${FILE}.signed)
  execute_process(
    COMMAND osslsigncode sign -h sha256 -certs ${certificate} -ac ${FOLDER}/authority.pem -key ${key}
      -in ${FILE} -out ${FILE}.signed
    OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
  file(RENAME ${FILE}.signed ${FILE})
endif()
