# The content of the archive for Windows that `cpack` makes.
install(TARGETS norv RUNTIME DESTINATION .)
install(FILES README.md LICENSE DESTINATION .)
# The program contains libcrypto, so its licence goes with it. tools/openssl-windows puts
# the licence beside the library.
set(openssl_licence ${OPENSSL_INCLUDE_DIR}/../LICENSE.txt)
if(EXISTS ${openssl_licence})
  install(FILES ${openssl_licence} DESTINATION . RENAME LICENSE-OpenSSL.txt)
endif()

set(CPACK_GENERATOR ZIP)
set(CPACK_PACKAGE_FILE_NAME ${PROJECT_NAME}-${PROJECT_VERSION}-windows-x64)
set(CPACK_STRIP_FILES ON)
include(CPack)
