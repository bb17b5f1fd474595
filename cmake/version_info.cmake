# norv_version_info(TARGET DESCRIPTION): puts the version into the program's file, where
# Windows shows it. The text is compiled apart from the program: windres knows none of the
# compiler's options.
enable_language(RC)

function(norv_version_info target description)
  set(name ${target})
  set(patch ${PROJECT_VERSION_PATCH})
  if(NOT patch)
    set(patch 0)
  endif()
  configure_file(${PROJECT_SOURCE_DIR}/cmake/version_info.rc.in
                 ${PROJECT_BINARY_DIR}/${target}.rc @ONLY)
  add_library(${target}_version_info OBJECT ${PROJECT_BINARY_DIR}/${target}.rc)
  target_sources(${target} PRIVATE $<TARGET_OBJECTS:${target}_version_info>)
endfunction()
