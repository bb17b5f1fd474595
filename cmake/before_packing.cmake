# `cpack` runs this before it packs.

# What Debian's own tools remove besides the symbols.
if(CPACK_GENERATOR STREQUAL DEB)
  file(GLOB programs ${CPACK_TEMPORARY_DIRECTORY}/usr/bin/*)
  execute_process(COMMAND strip --remove-section=.comment --remove-section=.note ${programs}
                  COMMAND_ERROR_IS_FATAL ANY)
endif()

# The files get the time SOURCE_DATE_EPOCH where that is set, so that the package does not
# tell when it was built.
if(DEFINED ENV{SOURCE_DATE_EPOCH})
  execute_process(COMMAND find ${CPACK_TEMPORARY_DIRECTORY} -exec
                          touch --no-dereference --date=@$ENV{SOURCE_DATE_EPOCH} {} +
                  COMMAND_ERROR_IS_FATAL ANY)
endif()
