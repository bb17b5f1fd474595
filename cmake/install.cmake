# What `cmake --install` puts where. On Windows all files are in one folder.
include(GNUInstallDirs)

set(NORV_DEBIAN_REVISION "" CACHE STRING
    "When it is set, the files are those of a Debian package of this revision")

set(programs norv)
if(NORV_CTL)
  list(APPEND programs norvctl)
endif()

if(WIN32)
  install(TARGETS ${programs} RUNTIME DESTINATION .)
  set(documents .)
  # The README leads to these. The manual pages tell the version.
  install(FILES README.md CHANGELOG.md CONTRIBUTING.md SECURITY.md LICENSE DESTINATION .)
  file(GLOB pages CONFIGURE_DEPENDS docs/*.md docs/*.svg docs/cluster.json)
  install(FILES ${pages} DESTINATION docs)
  foreach(page norv norvctl)
    configure_file(docs/${page}.1 ${PROJECT_BINARY_DIR}/man/${page}.1 @ONLY)
    install(FILES ${PROJECT_BINARY_DIR}/man/${page}.1 DESTINATION docs)
  endforeach()

  # The programs contain these libraries, so their licences go with them.
  # tools/openssl-windows and tools/libuv-windows put the licence beside the library;
  # Debian has one for each package.
  function(install_licence file name)
    if(EXISTS ${file})
      install(FILES ${file} DESTINATION . RENAME LICENSE-${name}.txt)
    endif()
  endfunction()
  install_licence(${OPENSSL_INCLUDE_DIR}/../LICENSE.txt OpenSSL)
  if(NORV_CTL)
    install_licence(${LIBUV_INCLUDE_DIR}/../LICENSE.txt libuv)
    install_licence(/usr/share/doc/libcli11-dev/copyright CLI11)
    install_licence(/usr/share/doc/nlohmann-json3-dev/copyright nlohmann-json)
  endif()
else()
  install(TARGETS ${programs} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
  set(documents ${CMAKE_INSTALL_DATADIR}/doc/norv)
  install(FILES cmake/copyright DESTINATION ${documents})

  if(NORV_DEBIAN_REVISION)
    include(cmake/debian_files.cmake)
  else()
    install(FILES LICENSE CHANGELOG.md DESTINATION ${documents})
    set(zsh_folder site-functions)
  endif()

  foreach(program ${programs})
    configure_file(docs/${program}.1 ${PROJECT_BINARY_DIR}/man/${program}.1 @ONLY)
    if(NORV_DEBIAN_REVISION)
      norv_install_zipped(${PROJECT_BINARY_DIR}/man/${program}.1 ${program}.1.gz
                          ${CMAKE_INSTALL_MANDIR}/man1)
    else()
      install(FILES ${PROJECT_BINARY_DIR}/man/${program}.1
              DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
    endif()
    install(FILES completion/${program}.bash RENAME ${program}
            DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
    install(FILES completion/_${program}
            DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/${zsh_folder})
  endforeach()
endif()

# Whatever the rights in the checkout are.
set(runnable OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ
    WORLD_EXECUTE)
install(DIRECTORY examples/ DESTINATION ${documents}/examples
        FILE_PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ
        DIRECTORY_PERMISSIONS ${runnable}
        PATTERN __pycache__ EXCLUDE
        PATTERN "*.py" PERMISSIONS ${runnable}
        PATTERN "*.sh" PERMISSIONS ${runnable})
# Slurm does not run on Windows.
if(NORV_CTL AND NOT WIN32)
  install(DIRECTORY cluster DESTINATION ${documents}/examples
          FILE_PERMISSIONS ${runnable} DIRECTORY_PERMISSIONS ${runnable})
endif()
