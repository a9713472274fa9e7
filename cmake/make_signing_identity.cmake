# Makes a certificate authority and a code-signing certificate that it has signed.
#   cmake -D FOLDER=<folder> (-D NAME=<common name> | -D NAME_FILE=<file with it>)
#         [-D SIGNER_DIGEST=<digest>] -P make_signing_identity.cmake
# Leaves authority.pem, signer.pem and signer.key in the folder. With an empty name the signer has no
# common name; its own certificate is signed over SHA-256 if nothing else is said.
cmake_minimum_required(VERSION 3.25)

if(DEFINED NAME_FILE)
  file(READ ${NAME_FILE} NAME)
endif()
set(common_name "")
if(NOT NAME STREQUAL "")
  string(REGEX REPLACE "([\\\\$#\"'`])" "\\\\\\1" escaped "${NAME}")
  set(common_name "CN = ${escaped}")
endif()

file(MAKE_DIRECTORY ${FOLDER})
file(WRITE ${FOLDER}/openssl.cnf "
[authority]
prompt = no
utf8 = yes
string_mask = utf8only
distinguished_name = authority_name
x509_extensions = authority_extensions
[authority_name]
O = For development only
CN = Throw-away authority
[authority_extensions]
basicConstraints = critical, CA:true, pathlen:0
keyUsage = critical, keyCertSign
subjectKeyIdentifier = hash

[signer]
prompt = no
utf8 = yes
string_mask = utf8only
distinguished_name = signer_name
x509_extensions = signer_extensions
[signer_name]
O = For development only
${common_name}
[signer_extensions]
basicConstraints = critical, CA:false
keyUsage = critical, digitalSignature
extendedKeyUsage = critical, codeSigning
subjectKeyIdentifier = hash
authorityKeyIdentifier = keyid
")

if(NOT DEFINED SIGNER_DIGEST)
  set(SIGNER_DIGEST sha256)
endif()
set(new_certificate openssl req -x509 -config openssl.cnf -newkey rsa:3072 -noenc -days 3650)
execute_process(
  COMMAND ${new_certificate} -sha256 -section authority -keyout authority.key -out authority.pem
  WORKING_DIRECTORY ${FOLDER} ERROR_QUIET COMMAND_ERROR_IS_FATAL ANY)
execute_process(
  COMMAND ${new_certificate} -${SIGNER_DIGEST} -section signer -CA authority.pem -CAkey authority.key
    -keyout signer.key -out signer.pem
  WORKING_DIRECTORY ${FOLDER} ERROR_QUIET COMMAND_ERROR_IS_FATAL ANY)
file(REMOVE ${FOLDER}/authority.key)
