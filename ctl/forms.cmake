# The part of norvctl that handles numbers and forms: reading, checking and writing them.

# norv_headers(TARGET FOLDER HEADER): a library of headers alone, the same for every
# system. A cross-compiler must not see what else is in the folder that holds theirs: the
# headers of this system.
function(norv_headers target folder header)
  find_path(${target}_INCLUDE_DIR ${header} PATHS /usr/include REQUIRED)
  set(directory ${${target}_INCLUDE_DIR})
  if(CMAKE_CROSSCOMPILING)
    set(directory ${PROJECT_BINARY_DIR}/headers)
    file(MAKE_DIRECTORY ${directory})
    file(CREATE_LINK ${${target}_INCLUDE_DIR}/${folder} ${directory}/${folder} SYMBOLIC)
  endif()
  add_library(${target} INTERFACE)
  target_include_directories(${target} SYSTEM INTERFACE ${directory})
endfunction()
norv_headers(norv_json nlohmann nlohmann/json.hpp)

add_library(norv_ctl_forms STATIC
  ctl/check.cpp
  ctl/check_text.cpp
  ctl/dh_parameters.cpp
  ctl/formats.cpp
  ctl/from_text.cpp
  ctl/generator.cpp
  ctl/json_form.cpp
  ctl/message.cpp
  ctl/number_text.cpp
  ctl/output_file.cpp
  ctl/secret_text.cpp)
target_link_libraries(norv_ctl_forms PUBLIC norv_prime PRIVATE norv_json)
set_source_files_properties(ctl/json_form.cpp PROPERTIES
  COMPILE_DEFINITIONS NORVCTL_VERSION="${PROJECT_VERSION}")
