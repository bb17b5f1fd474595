# What a Debian package has in another form than other systems: compressed pages, two
# changelogs, and zsh's completions in the folder of the distribution.
set(zsh_folder vendor-completions)

# norv_install_zipped(FILE NAME FOLDER): installs FILE, compressed without its time, as
# NAME.
function(norv_install_zipped file name folder)
  set(zipped ${PROJECT_BINARY_DIR}/debian/${name})
  string(REGEX REPLACE "\\.gz$" "" copy ${zipped})
  add_custom_command(OUTPUT ${zipped}
                     COMMAND ${CMAKE_COMMAND} -E copy ${file} ${copy}
                     COMMAND gzip -9nf ${copy}
                     DEPENDS ${file} VERBATIM)
  string(MAKE_C_IDENTIFIER zipped_${name} target)
  add_custom_target(${target} ALL DEPENDS ${zipped})
  install(FILES ${zipped} DESTINATION ${folder})
endfunction()

# The time is SOURCE_DATE_EPOCH where that is set.
set(weekdays Sun Mon Tue Wed Thu Fri Sat)
set(months . Jan Feb Mar Apr May Jun Jul Aug Sep Oct Nov Dec)
string(TIMESTAMP weekday %w UTC)
string(TIMESTAMP month %m UTC)
list(GET weekdays ${weekday} weekday)
list(GET months ${month} month)
string(TIMESTAMP packaged "${weekday}, %d ${month} %Y %H:%M:%S +0000" UTC)
configure_file(cmake/debian_changelog.in ${PROJECT_BINARY_DIR}/debian_changelog @ONLY)
norv_install_zipped(${PROJECT_BINARY_DIR}/debian_changelog changelog.Debian.gz
                    ${CMAKE_INSTALL_DATADIR}/doc/norv)
norv_install_zipped(${PROJECT_SOURCE_DIR}/CHANGELOG.md changelog.gz
                    ${CMAKE_INSTALL_DATADIR}/doc/norv)
