# The packages that `cpack` makes: a Debian package or an archive for Windows, and an
# archive of the sources. tools/package calls it so that they are the same on every
# machine.
set(CPACK_PACKAGE_VENDOR "the norv authors")
set(CPACK_PACKAGE_CONTACT ${NORV_MAINTAINER})
set(CPACK_STRIP_FILES ON)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/before_packing.cmake)
set(CPACK_POST_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/after_packing.cmake)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

if(WIN32)
  set(CPACK_GENERATOR ZIP)
  set(CPACK_PACKAGE_FILE_NAME ${PROJECT_NAME}-${PROJECT_VERSION}-windows-x64)
else()
  set(CPACK_GENERATOR DEB)
  set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
  set(CPACK_DEBIAN_PACKAGE_RELEASE ${NORV_DEBIAN_REVISION})
  set(CPACK_DEBIAN_PACKAGE_SECTION math)
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
  set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
  set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
  set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "search for large primes and safe primes")
  set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
"norvctl finds a prime or a safe prime of 64 to 65536 bits in one command,
checks it with random witnesses, and writes it as hex, decimal, PEM or DER
for Diffie-Hellman parameters, JSON, a C array or a line of moduli(5). It uses
all processors, and shows how long the search will take.

norv is the search itself, made to be started by other programs. It searches
upward from a base number that its caller supplies, with up to 63 threads,
and can be stopped through a named semaphore.")
endif()

set(CPACK_SOURCE_GENERATOR TXZ)
set(CPACK_SOURCE_PACKAGE_FILE_NAME ${PROJECT_NAME}-${PROJECT_VERSION})
set(CPACK_SOURCE_IGNORE_FILES /build/ "/\\\\.git/" "/\\\\.git$" "/\\\\.cache/" /__pycache__/)
include(CPack)
