# Makes differently signed copies of a library, each in a folder of its own with the certificate of
# the authority behind it.
#   cmake -D LIBRARY=<signed library> -D FOLDER=<where to> -D SCRIPTS=<folder of the signing scripts>
#         -D NAME_1=<accepted publisher> -D NAME_2=<the other one> -P make_gate_files.cmake
cmake_minimum_required(VERSION 3.25)

cmake_path(GET LIBRARY FILENAME file_name)

function(make_unsigned folder)
  file(REMOVE_RECURSE ${folder})
  file(MAKE_DIRECTORY ${folder})
  execute_process(
    COMMAND osslsigncode remove-signature -in ${LIBRARY} -out ${folder}/${file_name}
    OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
endfunction()

function(make_signed folder name)
  make_unsigned(${folder})
  # Wine judges who signed only if the signer's certificate is itself signed with SHA-1.
  execute_process(
    COMMAND ${CMAKE_COMMAND} -D FOLDER=${folder} -D NAME=${name} -D SIGNER_DIGEST=sha1
      -P ${SCRIPTS}/make_signing_identity.cmake
    COMMAND_ERROR_IS_FATAL ANY)
  execute_process(
    COMMAND ${CMAKE_COMMAND} -D FOLDER=${folder} -D FILE=${folder}/${file_name}
      -D SIGNATURE=embedded -P ${SCRIPTS}/sign_file.cmake
    COMMAND_ERROR_IS_FATAL ANY)
  file(REMOVE ${folder}/signer.key ${folder}/signer.pem ${folder}/openssl.cnf)
endfunction()

make_unsigned(${FOLDER}/unsigned)
make_signed(${FOLDER}/trusted_any_name "Any Other Publisher")
make_signed(${FOLDER}/accepted_name_1 "${NAME_1}")
make_signed(${FOLDER}/accepted_name_2 "${NAME_2}")
make_signed(${FOLDER}/other_name "Any Other Publisher")
make_signed(${FOLDER}/longer_name "${NAME_1} Ltd.")
string(TOLOWER "${NAME_1}" lower_case)
make_signed(${FOLDER}/other_case "${lower_case}")
