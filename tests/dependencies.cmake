# GoogleTest and GMP, which only the tests use, as GTest::gtest, GTest::gtest_main
# and gmp. GMP_ROOT_DIR names GMP's folder when it is not the system's GMP.

# A cross-compiler has no built GoogleTest, but Debian has its sources as a package.
set(googletest_sources /usr/src/googletest)
if(CMAKE_CROSSCOMPILING AND EXISTS ${googletest_sources})
  set(BUILD_GMOCK OFF CACHE BOOL "" FORCE)
  set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
  add_subdirectory(${googletest_sources} ${PROJECT_BINARY_DIR}/googletest
                   EXCLUDE_FROM_ALL)
  # norv does not fix GoogleTest's warnings.
  set_target_properties(gtest gtest_main PROPERTIES COMPILE_WARNING_AS_ERROR OFF)
else()
  find_package(GTest REQUIRED)
endif()

find_library(GMP_LIBRARY gmp HINTS ${GMP_ROOT_DIR}/lib REQUIRED)
find_path(GMP_INCLUDE_DIR gmp.h HINTS ${GMP_ROOT_DIR}/include REQUIRED)
add_library(gmp INTERFACE IMPORTED)
target_link_libraries(gmp INTERFACE ${GMP_LIBRARY})
target_include_directories(gmp INTERFACE ${GMP_INCLUDE_DIR})
