# `cpack` runs this after it has packed. It packs the files of an archive in the order in
# which the file system lists them, so that each machine may have another order: archives
# are packed again, by name.
if(CPACK_GENERATOR MATCHES "^(TXZ|ZIP)$")
  cmake_path(GET CPACK_TEMPORARY_DIRECTORY PARENT_PATH folder)
  cmake_path(GET CPACK_TEMPORARY_DIRECTORY FILENAME top)
  file(GLOB_RECURSE files RELATIVE ${folder} ${folder}/${top}/*)
  list(SORT files)
  list(JOIN files "\n" lines)
  file(WRITE ${folder}/files "${lines}\n")
  if(CPACK_GENERATOR STREQUAL TXZ)
    set(pack tar --create --xz --format=gnu --owner=root:0 --group=root:0
             --file=${CPACK_PACKAGE_FILES} --files-from=files)
  else()
    set(pack ${CMAKE_COMMAND} -E tar cf ${CPACK_PACKAGE_FILES} --format=zip
             --files-from=files)
  endif()
  execute_process(COMMAND ${pack} WORKING_DIRECTORY ${folder} COMMAND_ERROR_IS_FATAL ANY)
endif()
